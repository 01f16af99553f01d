#pragma once

#include <cstddef>
#include <cstdint>

/// The family's own converter between UTF-8 and UTF-16 paths. It validates nothing, so every name that the system
/// returns can be passed back unchanged, also one with single surrogates. `Unit` is a 16-bit unit type: wchar_t on
/// Windows, char16_t elsewhere. Nothing is read beyond a text's terminator, also after a cut sequence. Any thread.

namespace path_encoding {

/// Bytes of a sequence. The lead byte alone decides.
constexpr size_t SequenceLength(uint8_t lead) noexcept {
    if (lead < 0xC0) {
        return 1;
    }
    if (lead < 0xE0) {
        return 2;
    }
    if (lead < 0xF0) {
        return 3;
    }
    if (lead < 0xF8) {
        return 4;
    }
    return lead < 0xFC ? 5 : 6;
}

/// @return an upper bound of the units that `DecodeUtf8` stores, terminator not counted.
inline size_t CountUnits(const char* text) noexcept {
    size_t units = 0;
    while (*text != '\0') {
        const size_t length = SequenceLength(static_cast<uint8_t>(*text));
        const bool skips = length >= 2 && length <= 4;
        units += length == 3 || length == 4 ? 2 : 1;
        ++text;
        for (size_t skipped = 1; skips && skipped < length && *text != '\0'; ++skipped) {
            ++text;
        }
    }
    return units;
}

/// Decodes into `capacity` units at most, terminator not included and not written.
/// Deliberate: each sequence becomes one unit, so a value above U+FFFF loses its high bits. Files that were written
/// under a name cut in this way are found only by the same cut.
/// @return units stored.
template <class Unit>
size_t DecodeUtf8(const char* text, Unit* units, size_t capacity) noexcept {
    static_assert(sizeof(Unit) == 2);
    size_t stored = 0;
    while (*text != '\0' && stored < capacity) {
        const uint8_t lead = static_cast<uint8_t>(*text++);
        const size_t length = SequenceLength(lead);
        uint32_t value = length == 1 ? lead : lead & (0x7Fu >> length);
        for (size_t index = 1; index < length; ++index) {
            // A sequence cut by the terminator counts its missing bits as zero.
            value = (value << 6) | (*text != '\0' ? static_cast<uint8_t>(*text++) & 0x3Fu : 0u);
        }
        units[stored++] = static_cast<Unit>(value & 0xFFFFu);
    }
    return stored;
}

/// Bytes of one unit in UTF-8.
template <class Unit>
constexpr size_t EncodedLength(Unit unit) noexcept {
    const uint32_t value = static_cast<uint16_t>(unit);
    return value < 0x80 ? 1 : value < 0x800 ? 2 : 3;
}

/// @return exactly the bytes that `EncodeUtf8` stores, terminator not counted.
template <class Unit>
size_t CountBytes(const Unit* units) noexcept {
    size_t bytes = 0;
    for (; *units != 0; ++units) {
        bytes += EncodedLength(*units);
    }
    return bytes;
}

/// Encodes every unit by itself, surrogates included, into a buffer of `CountBytes` bytes; writes no terminator.
template <class Unit>
void EncodeUtf8(const Unit* units, char* bytes) noexcept {
    static_assert(sizeof(Unit) == 2);
    for (; *units != 0; ++units) {
        const uint32_t value = static_cast<uint16_t>(*units);
        switch (EncodedLength(*units)) {
        case 1:
            *bytes++ = static_cast<char>(value);
            break;
        case 2:
            *bytes++ = static_cast<char>(0xC0 | (value >> 6));
            *bytes++ = static_cast<char>(0x80 | (value & 0x3F));
            break;
        default:
            *bytes++ = static_cast<char>(0xE0 | (value >> 12));
            *bytes++ = static_cast<char>(0x80 | ((value >> 6) & 0x3F));
            *bytes++ = static_cast<char>(0x80 | (value & 0x3F));
            break;
        }
    }
}

} // namespace path_encoding
