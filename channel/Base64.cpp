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
// character can index beyond a table.
using DecodeTables = std::array<std::array<std::uint32_t, 256>, kGroup>;

constexpr DecodeTables MakeDecodeTables() noexcept {
    DecodeTables tables{};
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
}
constexpr DecodeTables kDecodeTables = MakeDecodeTables();

// The two characters for each value of twelve bits. Encoding by pairs halves the number of lookups.
using PairTable = std::array<std::array<char, 2>, 4096>;

constexpr PairTable MakePairTable() noexcept {
    PairTable table{};
    for (std::size_t bits = 0; bits < table.size(); ++bits) {
        table[bits] = {kAlphabet[bits >> 6], kAlphabet[bits & 0x3F]};
    }
    return table;
}
constexpr PairTable kPairTable = MakePairTable();

/// Writes the four characters of three bytes.
inline void EncodeGroup(std::uint32_t first, std::uint32_t second, std::uint32_t third, char* out) noexcept {
    const std::uint32_t bits = first << 16 | second << 8 | third;
    std::memcpy(out, kPairTable[bits >> 12].data(), 2);
    std::memcpy(out + 2, kPairTable[bits & 0xFFF].data(), 2);
}

inline std::uint64_t ReadEight(const std::uint8_t* bytes) noexcept {
    const auto at = [bytes](int index) { return static_cast<std::uint64_t>(bytes[index]) << (56 - 8 * index); };
    return at(0) | at(1) | at(2) | at(3) | at(4) | at(5) | at(6) | at(7);
}

/// Writes the eight characters of the upper six bytes.
inline void EncodeTwoGroups(std::uint64_t bits, char* out) noexcept {
    for (std::size_t pair = 0; pair < 4; ++pair) {
        std::memcpy(out + 2 * pair, kPairTable[bits >> (52 - 12 * pair) & 0xFFF].data(), 2);
    }
}

using Group = std::array<std::uint32_t, kGroup>; // entries of the last table

/// Decodes groups of four alphabet characters. @return the number of such groups at the start of the text.
std::size_t DecodePlainGroups(std::span<const std::uint8_t> text, std::uint8_t* out) noexcept {
    const std::size_t groups = text.size() / kGroup;
    const std::uint8_t* next = text.data();
    for (std::size_t done = 0; done < groups; ++done, next += kGroup, out += 3) {
        const std::uint32_t bits = kDecodeTables[0][next[0]] | kDecodeTables[1][next[1]] | kDecodeTables[2][next[2]] |
                                   kDecodeTables[3][next[3]];
        if (bits >= kPad) {
            return done;
        }
        out[0] = static_cast<std::uint8_t>(bits >> 16);
        out[1] = static_cast<std::uint8_t>(bits >> 8);
        out[2] = static_cast<std::uint8_t>(bits);
    }
    return groups;
}

/// Decodes one group that may contain padding. @return the end of its one to three bytes.
std::uint8_t* DecodeGroup(const Group& group, std::uint8_t* out) noexcept {
    std::uint32_t bits = 0;
    for (const std::uint32_t value : group) {
        bits = bits << 6 | (value == kPad ? 0u : value);
    }
    const int bytes = group[3] != kPad ? 3 : group[2] != kPad ? 2 : 1;
    for (int index = 0; index < bytes; ++index) {
        *out++ = static_cast<std::uint8_t>(bits >> (16 - 8 * index));
    }
    return out;
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
    // Two groups from one read are markedly faster. The read takes two bytes more than it uses.
    for (; rest >= 8; rest -= 6, next += 6, out += 2 * kGroup) {
        EncodeTwoGroups(ReadEight(next), out);
    }
    for (; rest >= 3; rest -= 3, next += 3, out += kGroup) {
        EncodeGroup(next[0], next[1], next[2], out);
    }
    if (rest == 0) {
        return out;
    }
    EncodeGroup(next[0], rest == 2 ? next[1] : 0u, 0u, out);
    std::fill(out + rest + 1, out + kGroup, kPadding);
    return out + kGroup;
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
    for (;;) {
        if (count == 0) {
            const std::size_t groups = DecodePlainGroups({next, end}, out);
            next += groups * kGroup;
            out += groups * 3;
        }
        if (next == end) {
            break;
        }
        const std::uint32_t value = kDecodeTables[3][*next++];
        if (value == kInvalid) {
            return 0;
        }
        if (value != kSkipped) {
            group[count++] = value;
        }
        if (count == kGroup) {
            out = DecodeGroup(group, out);
            count = 0;
        }
    }
    if (count == 1) {
        return 0; // six bits are no byte
    }
    if (count != 0) {
        std::fill(group.begin() + static_cast<std::ptrdiff_t>(count), group.end(), kPad);
        out = DecodeGroup(group, out);
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
