#pragma once

#include "osadapter/include/kosa.h"

#include <cerrno>
#include <memory>

/// Frees memory of the family and keeps `errno`, which callers read after the wrapped runtime call.
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

/// The result of some functions when the path cannot be converted.
constexpr int kUnconvertible = 1;

inline bool IsEmptyText(const char* text) noexcept {
    return text == nullptr || *text == '\0';
}
