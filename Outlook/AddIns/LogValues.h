#pragma once

#include <windows.h>
#include <objbase.h>

#include <cstdint>
#include <ios>
#include <ostream>

/// Writes a status to a stream in hexadecimal. The stream is decimal afterwards: `<< L"fail: 0x" << Hex(status)`.
struct Hex {
    explicit Hex(HRESULT status) noexcept : value(static_cast<uint32_t>(status)) {}
    uint32_t value;
};

inline std::wostream& operator<<(std::wostream& stream, Hex hex) {
    return stream << std::hex << hex.value << std::dec;
}

/// Writes an interface id to a stream, in the form of the registry.
struct IdText {
    explicit IdText(REFIID id) noexcept { ::StringFromGUID2(id, text, ARRAYSIZE(text)); }
    wchar_t text[40] = {};
};

inline std::wostream& operator<<(std::wostream& stream, const IdText& id) {
    return stream << id.text;
}
