#include "channel/Base64.h"

#include <algorithm>
#include <array>
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

// All 256 codes have an entry: no character can index beyond the table.
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

/// Writes the four characters of one to three bytes.
char* EncodeGroup(std::span<const std::uint8_t> bytes, char* out) noexcept {
    const std::uint32_t bits = static_cast<std::uint32_t>(bytes[0]) << 16 |
                               (bytes.size() > 1 ? static_cast<std::uint32_t>(bytes[1]) << 8 : 0u) |
                               (bytes.size() > 2 ? static_cast<std::uint32_t>(bytes[2]) : 0u);
    for (std::size_t index = 0; index < kGroup; ++index) {
        *out++ = index <= bytes.size() ? kAlphabet[(bits >> (18 - 6 * index)) & 0x3F] : kPadding;
    }
    return out;
}

/// Collects characters and gives out the bytes of each full group. `Bytes` is a container of byte-sized elements.
template <class Bytes>
class GroupReader {
public:
    explicit GroupReader(Bytes& bytes) noexcept : bytes_(bytes) {}

    /// Takes a value of the table, `kPad` included.
    void Take(std::uint8_t value) {
        group_[count_++] = value;
        if (count_ == kGroup) {
            Flush();
        }
    }

    /// @return false when the text ended with a single character of a group.
    bool Finish() {
        if (count_ == 1) {
            return false;
        }
        while (count_ != 0) {
            Take(kPad);
        }
        return true;
    }

private:
    void Flush() {
        std::uint32_t bits = 0;
        for (const std::uint8_t value : group_) {
            bits = bits << 6 | (value == kPad ? 0u : value);
        }
        const std::size_t given = group_[3] != kPad ? 3 : group_[2] != kPad ? 2 : 1;
        for (std::size_t index = 0; index < given; ++index) {
            bytes_.push_back(static_cast<typename Bytes::value_type>(bits >> (16 - 8 * index) & 0xFF));
        }
        count_ = 0;
    }

    Bytes& bytes_;
    std::array<std::uint8_t, kGroup> group_{};
    std::size_t count_ = 0;
};

template <class Bytes>
Bytes DecodeAs(std::string_view text) noexcept {
    try {
        Bytes bytes;
        bytes.reserve(text.size() / kGroup * 3 + 3);
        GroupReader<Bytes> reader(bytes);
        for (const char character : text) {
            const std::uint8_t value = kDecodeTable[static_cast<std::uint8_t>(character)];
            if (value == kInvalid) {
                return Bytes();
            }
            if (value != kSkipped) {
                reader.Take(value);
            }
        }
        return reader.Finish() ? bytes : Bytes();
    } catch (const std::exception&) { // no memory, or a length beyond any container
        return Bytes();
    }
}

} // namespace

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
    char* out = text.data();
    for (std::size_t offset = 0; offset < bytes.size(); offset += 3) {
        out = EncodeGroup(bytes.subspan(offset, std::min<std::size_t>(3, bytes.size() - offset)), out);
    }
    return text;
}

std::string Encode(std::string_view bytes) noexcept {
    return Encode(std::span(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()));
}

std::vector<std::uint8_t> Decode(std::string_view text) noexcept {
    return DecodeAs<std::vector<std::uint8_t>>(text);
}

std::string DecodeToString(std::string_view text) noexcept {
    return DecodeAs<std::string>(text);
}

} // namespace Base64
