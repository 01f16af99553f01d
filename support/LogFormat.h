#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <string_view>

/// Bounded formatting for log lines. Any thread.

/// Local time as "2022-09-01 10:06:20.123".
inline constexpr size_t kLogTimeBytes = 48;
void FormatLocalTime(char (&text)[kLogTimeBytes]) noexcept;

/// Builds a text in a buffer, without the runtime's conversions. For the parts that are in every line.
class BoundedText {
public:
    BoundedText(char* text, size_t size) noexcept : start_(text), next_(text), room_(size) {}

    BoundedText& operator<<(std::string_view piece) noexcept;
    BoundedText& operator<<(int64_t number) noexcept;
    /// Adds a number with leading zeroes, at least `digits` long. @param number not negative.
    BoundedText& Padded(uint32_t number, int digits) noexcept;

    /// Terminates it. @return characters without the terminator, -1 when something did not fit.
    int Finish() noexcept;

private:
    char* start_;
    char* next_;
    size_t room_; // 0 once a piece did not fit
};

/// Formats with the runtime's conversions. @return characters without the terminator; -1 on a formatting error and when
/// text and terminator do not fit `size` bytes (the content is then undefined).
int FormatBounded(char* text, size_t size, const char* format, ...) noexcept;
int FormatBoundedV(char* text, size_t size, const char* format, va_list arguments) noexcept;

/// The same for wide texts, where "%s" takes a wide text. `size` counts units.
int FormatBoundedWideV(wchar_t* text, size_t size, const wchar_t* format, va_list arguments) noexcept;
