#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// Base64 in the standard alphabet with "=" padding and without line breaks. Needs no Windows. Any thread. No function
/// throws. A failure, also exhausted memory, gives an empty result.
namespace Base64 {

/// @return the number of characters for that many bytes, or 0 when it does not fit.
constexpr std::size_t EncodedLength(std::size_t bytes) noexcept {
    const std::size_t groups = bytes / 3 + (bytes % 3 != 0 ? 1 : 0);
    return groups > std::numeric_limits<std::size_t>::max() / 4 ? 0 : groups * 4;
}

std::string Encode(std::span<const std::uint8_t> bytes) noexcept;
std::string Encode(std::string_view bytes) noexcept;

/// Encodes into a buffer of `EncodedLength` characters, without a terminator. The bytes may be the last bytes of that
/// buffer: the text grows from its start and never overwrites a byte before it is read.
/// @return the end of the text.
char* EncodeTo(std::span<const std::uint8_t> bytes, char* out) noexcept;

/// @return the highest number of bytes that a text of this length can encode. It is never more than the length.
constexpr std::size_t DecodedBound(std::size_t length) noexcept {
    const std::size_t rest = length % 4;
    return length / 4 * 3 + (rest == 0 ? 0 : rest - 1);
}

/// Reads the texts that `Encode` writes. It also accepts:
/// - the URL-safe alphabet, "-" for "+" and "_" for "/".
/// - CR and LF anywhere, also inside a group of four. They are skipped.
/// - "=" anywhere, as zero bits. A group has one byte less for each "=" at its end, but at least one byte. Texts that
///   were encoded one by one can therefore be joined.
/// - a last group of two or three characters, as if it were padded. A single last character is a failure.
/// Any other character is a failure.
/// @return the bytes. Empty for an empty text and on failure.
std::vector<std::uint8_t> Decode(std::string_view text) noexcept;
std::string DecodeToString(std::string_view text) noexcept;

/// Decodes into a buffer of `DecodedBound` bytes, which must not overlap the text. A failure may leave bytes in it.
/// @return the number of bytes. 0 for an empty text and on failure.
std::size_t DecodeTo(std::string_view text, std::uint8_t* out) noexcept;

} // namespace Base64
