#pragma once

#include "osadapter/include/kosa.h"

#include <cerrno>
#include <memory>

/// Gives memory of the family back and keeps `errno`: callers read what the wrapped runtime call left there.
struct AdapterFree {
    void operator()(void* memory) const noexcept {
        const int kept = errno;
        KOSA_MemFreeD(memory, __LINE__, "adapter_memory");
        errno = kept;
    }
};

template <class Unit>
using UniqueText = std::unique_ptr<Unit[], AdapterFree>;

/// Converts a UTF-8 path. @return zero-terminated; null for a null or empty path, for a path with a character that
/// becomes a zero unit, and when memory is exhausted.
UniqueText<wchar_t> ToWidePath(const char* path) noexcept;

/// Converts a name or path of the system. @return zero-terminated; null for null and when memory is exhausted.
UniqueText<char> ToNarrowPath(const wchar_t* path) noexcept;

/// What the functions with a path and a three-way answer say when it cannot be converted.
constexpr int kUnconvertible = 1;

inline bool IsEmptyText(const char* text) noexcept {
    return text == nullptr || *text == '\0';
}
