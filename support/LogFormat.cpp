#include "support/LogFormat.h"

#include <windows.h>

#include <charconv>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <iterator>

void FormatLocalTime(char (&text)[kLogTimeBytes]) noexcept {
    SYSTEMTIME now = {};
    ::GetLocalTime(&now);
    BoundedText out(text, sizeof(text));
    out << now.wYear << "-";
    out.Padded(now.wMonth, 2) << "-";
    out.Padded(now.wDay, 2) << " ";
    out.Padded(now.wHour, 2) << ":";
    out.Padded(now.wMinute, 2) << ":";
    out.Padded(now.wSecond, 2) << ".";
    out.Padded(now.wMilliseconds, 3).Finish();
}

BoundedText& BoundedText::operator<<(std::string_view piece) noexcept {
    if (piece.size() >= room_) {
        room_ = 0;
        return *this;
    }
    std::memcpy(next_, piece.data(), piece.size());
    next_ += piece.size();
    room_ -= piece.size();
    return *this;
}

BoundedText& BoundedText::operator<<(int64_t number) noexcept {
    char digits[24];
    const auto end = std::to_chars(std::begin(digits), std::end(digits), number).ptr;
    return *this << std::string_view(digits, static_cast<size_t>(end - digits));
}

BoundedText& BoundedText::Padded(uint32_t number, int digits) noexcept {
    for (uint32_t limit = 10; --digits > 0; limit *= 10) {
        if (number < limit) {
            *this << "0";
        }
    }
    return *this << int64_t{number};
}

int BoundedText::Finish() noexcept {
    if (room_ == 0) {
        return -1;
    }
    *next_ = '\0';
    return static_cast<int>(next_ - start_);
}

int FormatBounded(char* text, size_t size, const char* format, ...) noexcept {
    va_list arguments;
    va_start(arguments, format);
    const int length = FormatBoundedV(text, size, format, arguments);
    va_end(arguments);
    return length;
}

int FormatBoundedV(char* text, size_t size, const char* format, va_list arguments) noexcept {
    const int length = std::vsnprintf(text, size, format, arguments);
    return length >= 0 && static_cast<size_t>(length) < size ? length : -1;
}

int FormatBoundedWideV(wchar_t* text, size_t size, const wchar_t* format, va_list arguments) noexcept {
    // Not vswprintf: the toolchains disagree on the meaning of its "%s".
    return ::_vsnwprintf_s(text, size, _TRUNCATE, format, arguments);
}
