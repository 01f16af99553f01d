#include "support/LogFormat.h"

#include <windows.h>

#include <cstdio>
#include <cwchar>

void FormatLocalTime(char (&text)[kLogTimeBytes]) noexcept {
    SYSTEMTIME now = {};
    ::GetLocalTime(&now);
    if (FormatBounded(text, sizeof(text), "%d-%02d-%02d %02d:%02d:%02d.%03d", now.wYear, now.wMonth, now.wDay,
                      now.wHour, now.wMinute, now.wSecond, now.wMilliseconds) < 0) {
        text[0] = '\0';
    }
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
