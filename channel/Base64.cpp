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

// What a character stands for when it is none of the 64.
constexpr std::uint8_t kPad = 0x40;
constexpr std::uint8_t kSkipped = 0x41;
constexpr std::uint8_t kInvalid = 0xFF;

// All 256 codes have an entry: no character can index beyond the tables.
constexpr std::array<std::uint8_t, 256> MakeDecodeTable() noexcept {
    std::array<std::uint8_t, 256> table{};
    table.fill(kInvalid);
    for (std::size_t value = 0; value < kAlphabet.size(); ++value) {
        table[static_cast<std::uint8_t>(kAlphabet[value])] = static_cast<std::uint8_t>(value);
    }
    table['-'] = table['+'];
    table['_'] = table['/'];
    table['='] = kPad;
    table['\r'] = table['\n'] = kSkipped;
    return table;
}
constexpr std::array<std::uint8_t, 256> kDecodeTable = MakeDecodeTable();

// The same for each place in a group, moved to where its bits belong there; anything but the 64 has this bit.
constexpr std::uint32_t kNoDigit = 0x80000000;
using PlaceTables = std::array<std::array<std::uint32_t, 256>, kGroup>;

constexpr PlaceTables MakePlaceTables() noexcept {
    PlaceTables tables{};
    for (std::size_t place = 0; place < kGroup; ++place) {
        for (std::size_t code = 0; code < 256; ++code) {
            const std::uint32_t value = kDecodeTable[code];
            tables[place][code] = value < kAlphabet.size() ? value << (18 - 6 * place) : kNoDigit;
        }
    }
    return tables;
}
constexpr PlaceTables kPlaceTables = MakePlaceTables();

// The two characters of every twelve bits: half as many look-ups as one by one.
using PairTable = std::array<std::array<char, 2>, 4096>;

constexpr PairTable MakePairTable() noexcept {
    PairTable table{};
    for (std::size_t bits = 0; bits < table.size(); ++bits) {
        table[bits] = {kAlphabet[bits >> 6], kAlphabet[bits & 0x3F]};
    }
    return table;
}
constexpr PairTable kPairTable = MakePairTable();

/// Writes the four characters of three bytes; all three are read before the first is written.
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
    std::memcpy(out, kPairTable[bits >> 52].data(), 2);
    std::memcpy(out + 2, kPairTable[bits >> 40 & 0xFFF].data(), 2);
    std::memcpy(out + 4, kPairTable[bits >> 28 & 0xFFF].data(), 2);
    std::memcpy(out + 6, kPairTable[bits >> 16 & 0xFFF].data(), 2);
}

/// Decodes into a buffer of `DecodedBound` bytes: whole groups at once, character by character around all else.
class Decoder {
public:
    explicit Decoder(std::uint8_t* out) noexcept : out_(out) {}

    /// @return where the bytes end; null when the text is refused.
    std::uint8_t* Read(std::string_view text) noexcept {
        const auto* next = reinterpret_cast<const std::uint8_t*>(text.data());
        const auto* const end = next + text.size();
        while (next != end) {
            if (count_ == 0) {
                next = ReadWholeGroups(next, end);
            }
            if (next == end) {
                break;
            }
            const std::uint8_t value = kDecodeTable[*next++];
            if (value == kInvalid) {
                return nullptr;
            }
            if (value != kSkipped) {
                Take(value);
            }
        }
        return Finish() ? out_ : nullptr;
    }

private:
    /// @return where the first group begins that is not four of the 64, or too short.
    const std::uint8_t* ReadWholeGroups(const std::uint8_t* next, const std::uint8_t* end) noexcept {
        std::uint8_t* out = out_; // a member would be written back for every byte
        for (; static_cast<std::size_t>(end - next) >= kGroup; next += kGroup) {
            const std::uint32_t bits = kPlaceTables[0][next[0]] | kPlaceTables[1][next[1]] | kPlaceTables[2][next[2]] |
                                       kPlaceTables[3][next[3]];
            if ((bits & kNoDigit) != 0) {
                break;
            }
            *out++ = static_cast<std::uint8_t>(bits >> 16);
            *out++ = static_cast<std::uint8_t>(bits >> 8);
            *out++ = static_cast<std::uint8_t>(bits);
        }
        out_ = out;
        return next;
    }

    /// Takes a value of the table, `kPad` included.
    void Take(std::uint8_t value) noexcept {
        group_[count_++] = value;
        if (count_ == kGroup) {
            Flush();
        }
    }

    void Flush() noexcept {
        std::uint32_t bits = 0;
        for (const std::uint8_t value : group_) {
            bits = bits << 6 | (value == kPad ? 0u : value);
        }
        const std::size_t given = group_[3] != kPad ? 3 : group_[2] != kPad ? 2 : 1;
        for (std::size_t index = 0; index < given; ++index) {
            *out_++ = static_cast<std::uint8_t>(bits >> (16 - 8 * index));
        }
        count_ = 0;
    }

    /// @return false when the text ended with a single character of a group.
    bool Finish() noexcept {
        if (count_ == 1) {
            return false;
        }
        while (count_ != 0) {
            Take(kPad);
        }
        return true;
    }

    std::uint8_t* out_;
    std::array<std::uint8_t, kGroup> group_{};
    std::size_t count_ = 0;
};

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
    // Two groups for one read, as long as the two bytes that it takes too many are there.
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
    const std::uint8_t* const end = Decoder(out).Read(text);
    return end == nullptr ? 0 : static_cast<std::size_t>(end - out);
}

std::vector<std::uint8_t> Decode(std::string_view text) noexcept {
    return DecodeAs<std::vector<std::uint8_t>>(text);
}

std::string DecodeToString(std::string_view text) noexcept {
    return DecodeAs<std::string>(text);
}

} // namespace Base64
