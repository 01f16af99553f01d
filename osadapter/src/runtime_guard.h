#pragma once

#include <cstdint>
#include <cstdlib>

/// Windows' universal runtime ends the process when a function is given an invalid argument, for example a closed
/// descriptor. While a guard exists, the function returns its error instead, in this thread. Other runtimes always do
/// so, and the guard is empty there.
class RuntimeGuard {
public:
    RuntimeGuard(const RuntimeGuard&) = delete;
    RuntimeGuard& operator=(const RuntimeGuard&) = delete;
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
};
