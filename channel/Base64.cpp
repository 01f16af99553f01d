#include "channel/Base64.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <exception>
#include <new>

namespace Base64 {
namespace {

constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr char kPadding = '=';
constexpr std::size_t kGroup = 4; // characters that three bytes take

// Table entries of the characters outside the alphabet. They are greater than the bits of any group.
constexpr std::uint32_t kPad = 0x80000000;
constexpr std::uint32_t kSkipped = 0x80000001;
constexpr std::uint32_t kInvalid = 0x80000002;

// One table for each place in a group, whose entries are shifted to that place. All 256 codes have an entry, so no
// character can index beyond a table. With a single table, decoding is slower than libcrypto's.
constexpr auto kDecodeTables = [] {
    std::array<std::array<std::uint32_t, 256>, kGroup> tables{};
    for (std::size_t place = 0; place < kGroup; ++place) {
        auto& table = tables[place];
        table.fill(kInvalid);
        for (std::uint32_t value = 0; value < kAlphabet.size(); ++value) {
            table[static_cast<std::uint8_t>(kAlphabet[value])] = value << (18 - 6 * place);
        }
        table['-'] = table['+'];
        table['_'] = table['/'];
        table['='] = kPad;
        table['\r'] = table['\n'] = kSkipped;
    }
    return tables;
}();

// The two characters for each value of twelve bits: a lookup for each character is slower than libcrypto's encoder.
constexpr auto kPairs = [] {
    std::array<std::array<char, 2>, 4096> pairs{};
    for (std::size_t bits = 0; bits < pairs.size(); ++bits) {
        pairs[bits] = {kAlphabet[bits >> 6], kAlphabet[bits & 0x3F]};
    }
    return pairs;
}();

/// Writes the four characters of three bytes.
inline char* EncodeGroup(std::uint32_t first, std::uint32_t second, std::uint32_t third, char* out) noexcept {
    const std::uint32_t bits = first << 16 | second << 8 | third;
    std::memcpy(out, kPairs[bits >> 12].data(), 2);
    std::memcpy(out + 2, kPairs[bits & 0xFFF].data(), 2);
    return out + kGroup;
}

inline std::uint8_t* WriteBytes(std::uint32_t bits, int count, std::uint8_t* out) noexcept {
    for (int index = 0; index < count; ++index) {
        *out++ = static_cast<std::uint8_t>(bits >> (16 - 8 * index));
    }
    return out;
}

using Group = std::array<std::uint32_t, kGroup>; // entries of the last table

/// Decodes one group that may contain padding. @return the end of its one to three bytes.
std::uint8_t* DecodePadded(const Group& group, std::uint8_t* out) noexcept {
    std::uint32_t bits = 0;
    for (const std::uint32_t value : group) {
        bits = bits << 6 | (value == kPad ? 0u : value);
    }
    return WriteBytes(bits, group[3] != kPad ? 3 : group[2] != kPad ? 2 : 1, out);
}

template <class Bytes>
Bytes DecodeAs(std::string_view text) noexcept {
    try {
        Bytes bytes(DecodedBound(text.size()), 0);
        bytes.resize(DecodeTo(text, reinterpret_cast<std::uint8_t*>(bytes.data())));
        return bytes;
    } catch (const std::exception&) { // no memory, or a length beyond any container
        return Bytes();
    }
}

} // namespace

char* EncodeTo(std::span<const std::uint8_t> bytes, char* out) noexcept {
    const std::uint8_t* next = bytes.data();
    std::size_t rest = bytes.size();
    for (; rest >= 3; rest -= 3, next += 3) {
        out = EncodeGroup(next[0], next[1], next[2], out);
    }
    if (rest != 0) {
        out = EncodeGroup(next[0], rest == 2 ? next[1] : 0u, 0u, out);
        std::fill(out - (3 - rest), out, kPadding);
    }
    return out;
}

std::string Encode(std::span<const std::uint8_t> bytes) noexcept {
    std::string text;
    const std::size_t length = EncodedLength(bytes.size());
    if (length == 0 || length > text.max_size()) {
        return text;
    }
    try {
        text.resize(length);
    } catch (const std::bad_alloc&) {
        return text;
    }
    EncodeTo(bytes, text.data());
    return text;
}

std::string Encode(std::string_view bytes) noexcept {
    return Encode(std::span(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()));
}

std::size_t DecodeTo(std::string_view text, std::uint8_t* out) noexcept {
    const auto* next = reinterpret_cast<const std::uint8_t*>(text.data());
    const auto* const end = next + text.size();
    std::uint8_t* const start = out;
    Group group{};
    std::size_t count = 0; // characters in `group`
    while (next != end) {
        if (count == 0 && end - next >= static_cast<std::ptrdiff_t>(kGroup)) { // usually four of the alphabet
            const std::uint32_t bits = kDecodeTables[0][next[0]] | kDecodeTables[1][next[1]] |
                                       kDecodeTables[2][next[2]] | kDecodeTables[3][next[3]];
            if (bits < kPad) {
                out = WriteBytes(bits, 3, out);
                next += kGroup;
                continue;
            }
        }
        const std::uint32_t value = kDecodeTables[3][*next++];
        if (value == kInvalid) {
            return 0;
        }
        if (value != kSkipped) {
            group[count++] = value;
        }
        if (count == kGroup) {
            out = DecodePadded(group, out);
            count = 0;
        }
    }
    if (count == 1) {
        return 0; // six bits are no byte
    }
    if (count != 0) {
        std::fill(group.begin() + static_cast<std::ptrdiff_t>(count), group.end(), kPad);
        out = DecodePadded(group, out);
    }
    return static_cast<std::size_t>(out - start);
}

std::vector<std::uint8_t> Decode(std::string_view text) noexcept {
    return DecodeAs<std::vector<std::uint8_t>>(text);
}

std::string DecodeToString(std::string_view text) noexcept {
    return DecodeAs<std::string>(text);
}

} // namespace Base64
