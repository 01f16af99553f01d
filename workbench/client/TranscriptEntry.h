#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace meeting_client {

/// One line of the transcript: a JSON object on a line of its own.
struct TranscriptEntry {
    std::string time;         ///< "time": UTC, "2025-03-04T05:06:07.089Z"
    std::string kind;         ///< "kind": "copydata", "message", "order", "fault" or "note"
    std::string direction;    ///< "dir": "in" or "out"; only for copydata and message
    std::uint64_t number = 0; ///< "dwData"; only for copydata
    std::uint64_t size = 0;   ///< "cbData" for copydata, "bytes" for message
    /// "text" when it is valid UTF-8, "hex" when not; for copydata without the terminating NUL. Absent when `null`.
    std::string bytes;
    bool terminated = true; ///< "terminated": false, written only when the NUL is missing
    bool null = false;      ///< "null": true, written only when no bytes travelled at all
    std::string result;     ///< "result": "ok" or what went wrong; for order and for out
};

/// The line without its line end.
std::string ToLine(const TranscriptEntry& entry);

/// @return nothing for a line that is no entry, such as one that is still being written.
std::optional<TranscriptEntry> FromLine(std::string_view line);

/// Lower-case digits, two for each byte.
std::string ToHex(std::string_view bytes);
/// @return nothing when the text is not made of pairs of hexadecimal digits.
std::optional<std::string> FromHex(std::string_view hex);

} // namespace meeting_client
