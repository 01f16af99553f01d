#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace wire {

inline constexpr std::string_view kPrefix = "%pre_nbmsdk%"; ///< begins each segment
inline constexpr std::string_view kEndMark = "%end_flag%";  ///< ends the last one

/// One WM_COPYDATA of the channel: `number` travels as dwData, `text` with a terminating NUL.
struct Envelope {
    std::uint32_t number = 0;
    std::string text;
    bool operator==(const Envelope&) const = default;
};

/// Cuts a message as it goes on the wire. Up to 1023 bytes it is one envelope of number 0; a longer one becomes
/// segments of `number`. An empty message gives no envelope.
std::vector<Envelope> Split(std::string_view message, std::uint32_t number);

/// Joins what arrives and looks whether the sender kept to the wire format. Joining is forgiving, the faults are not:
/// a test of the other side asks for none.
class Joiner {
public:
    struct Result {
        std::string message;             ///< the joined message; empty while more segments are awaited
        std::vector<std::string> faults; ///< what the sender did wrong, in words
    };

    /// @param bytes all carried bytes, the terminating NUL included; null when the sender gave none.
    Result Take(std::uint64_t number, const char* bytes, std::size_t size);

    std::size_t UnfinishedBytes() const noexcept { return unfinishedBytes_; }

private:
    void TakeSegment(std::uint32_t number, std::string_view text, Result& result);

    std::map<std::uint32_t, std::string> parts_;
    std::size_t unfinishedBytes_ = 0;
};

} // namespace wire
