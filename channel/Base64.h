#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// Base64 in the standard alphabet with "=" padding and without line breaks. Needs no Windows. Any thread. Nothing
/// here throws; what fails, exhausted memory included, gives an empty result.
namespace Base64 {

/// @return the characters for that many bytes, or 0 when the count does not fit.
constexpr std::size_t EncodedLength(std::size_t bytes) noexcept {
    const std::size_t groups = bytes / 3 + (bytes % 3 != 0 ? 1 : 0);
    return groups > std::numeric_limits<std::size_t>::max() / 4 ? 0 : groups * 4;
}

std::string Encode(std::span<const std::uint8_t> bytes) noexcept;
std::string Encode(std::string_view bytes) noexcept;

/// The same into a buffer of `EncodedLength` characters, without a terminator. The bytes may lie in its end, then
/// exactly up to its last character: what is written never reaches what is still to be read.
/// @return where the text ends.
char* EncodeTo(std::span<const std::uint8_t> bytes, char* out) noexcept;

/// @return the most bytes that a text of this length can stand for; never more than the length.
constexpr std::size_t DecodedBound(std::size_t length) noexcept {
    const std::size_t rest = length % 4;
    return length / 4 * 3 + (rest == 0 ? 0 : rest - 1);
}

/// Reads what `Encode` writes and, more generously:
/// - the URL-safe alphabet, "-" for "+" and "_" for "/";
/// - CR and LF anywhere, also inside a group of four: they carry nothing;
/// - "=" anywhere as zero bits. A group gives one byte less for each "=" it ends in, but always its first byte, so that
///   texts encoded one by one can be joined;
/// - a last group of two or three characters as if it were padded. A single one holds no whole byte and fails.
/// @return the bytes; empty for an empty text and on failure, any other character included.
std::vector<std::uint8_t> Decode(std::string_view text) noexcept;
std::string DecodeToString(std::string_view text) noexcept;

/// The same into a buffer of `DecodedBound` bytes, which must not overlap the text. On failure some may be written.
/// @return the number of bytes; 0 for an empty text and on failure.
std::size_t DecodeTo(std::string_view text, std::uint8_t* out) noexcept;

} // namespace Base64
