#pragma once

#include <array>
#include <optional>
#include <string_view>

/// One part of a message that the log shows: from the quoted key up to its terminator, for example `"cmd" : 3`.
/// Needs no Windows.
struct EnvelopeKey {
    std::string_view key; // with its quotation marks
    const char* format;   // printf text of the log line, with one "%.*s"
    char terminator;
};
inline constexpr std::array<EnvelopeKey, 4> kEnvelopeKeys{{
    {"\"cmd\"", "CMessageTask::PrintMsg data cmd = %.*s", ','},
    {"\"description\"", "CMessageTask::PrintMsg data description = %.*s", ','},
    {"\"rps\"", "CMessageTask::PrintMsg data rps = %.*s", '\n'},
    {"\"nty\"", "CMessageTask::PrintMsg data nty = %.*s", ','},
}};

/// @return the part of `message` from the key up to its terminator or, without a terminator, to the end. Nothing when
/// the message does not contain the key.
std::optional<std::string_view> FindEnvelope(std::string_view message, const EnvelopeKey& key) noexcept;
