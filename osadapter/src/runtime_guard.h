#pragma once

#include <cstdint>
#include <cstdlib>

/// While it lives, a runtime that would end the process over an invalid argument (a closed descriptor, say) reports the
/// error instead: the library is a guest, and its callers are promised a result. This thread only; runtimes that
/// report anyway are left alone.
class RuntimeGuard {
public:
#ifdef _MSC_VER
    RuntimeGuard() noexcept : before_(_set_thread_local_invalid_parameter_handler(Ignore)) {}
    ~RuntimeGuard() {
        _set_thread_local_invalid_parameter_handler(before_);
    }

private:
    static void Ignore(const wchar_t*, const wchar_t*, const wchar_t*, unsigned, uintptr_t) {}

    _invalid_parameter_handler before_;
#else
    RuntimeGuard() noexcept {}
    ~RuntimeGuard() {}
#endif
public:
    RuntimeGuard(const RuntimeGuard&) = delete;
    RuntimeGuard& operator=(const RuntimeGuard&) = delete;
};
