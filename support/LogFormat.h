#pragma once

#include <cstdarg>
#include <cstddef>

/// Bounded formatting for log lines. Any thread.

/// Local time as "2022-09-01 10:06:20.123".
inline constexpr size_t kLogTimeBytes = 48;
void FormatLocalTime(char (&text)[kLogTimeBytes]) noexcept;

/// Formats with the runtime's conversions. @return characters without the terminator; -1 on a formatting error and when
/// text and terminator do not fit `size` bytes (the content is then of no use).
int FormatBounded(char* text, size_t size, const char* format, ...) noexcept;
int FormatBoundedV(char* text, size_t size, const char* format, va_list arguments) noexcept;

/// The same for wide texts, where "%s" takes a wide text. `size` counts units.
int FormatBoundedWideV(wchar_t* text, size_t size, const wchar_t* format, va_list arguments) noexcept;
