#pragma once

#include <windows.h>

#include <gmock/gmock.h>

#include <cstdio>
#include <string>

inline std::string HexStatus(HRESULT status) {
    char text[16] = {};
    std::snprintf(text, sizeof(text), "0x%08lX", static_cast<unsigned long>(status));
    return text;
}

/// Compares statuses and prints them in hexadecimal.
MATCHER_P(IsStatus, expected, "is " + HexStatus(expected)) {
    *result_listener << HexStatus(arg);
    return arg == static_cast<HRESULT>(expected);
}
