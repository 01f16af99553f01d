#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

/// Splits a message into the texts that single window messages carry, and joins them again. Messages are opaque UTF-8
/// without zero bytes. Needs no Windows.

/// A message up to this length is sent whole. With its terminator it fills 1024 bytes.
inline constexpr std::size_t kMaxWholeMessage = 1023;
/// Number of message bytes in every segment except the last one.
inline constexpr std::size_t kSegmentBody = 1011;
inline constexpr std::string_view kSegmentPrefix = "%pre_nbmsdk%";
inline constexpr std::string_view kEndMark = "%end_flag%";

/// @return the number after `number`. It is never 0, because 0 means a whole message on the wire.
constexpr uint32_t NextSequence(uint32_t number) noexcept {
    const uint32_t next = number + 1;
    return next == 0 ? 1 : next;
}

/// Numbers segmented messages. Any thread. Two calls return the same number only after the count has wrapped.
class SequenceCounter {
public:
    explicit SequenceCounter(uint32_t last) noexcept : last_(last) {}

    uint32_t Take() noexcept {
        uint32_t last = last_;
        while (!last_.compare_exchange_weak(last, NextSequence(last))) {
        }
        return NextSequence(last);
    }

private:
    std::atomic<uint32_t> last_;
};

constexpr bool NeedsSegments(std::string_view message) noexcept {
    return message.size() > kMaxWholeMessage;
}

/// Splits one message of more than `kMaxWholeMessage` bytes into carried texts, one at a time in one buffer. The
/// splitter keeps no copy of the message, which must outlive it.
class SegmentSplitter {
public:
    explicit SegmentSplitter(std::string_view message) noexcept : message_(message) {}

    /// Moves to the next carried text. @return false after the last one.
    bool Next() noexcept;

    /// The current carried text, zero-terminated, valid until the next call of `Next`.
    std::string_view Text() const noexcept { return {buffer_.data(), length_}; }

private:
    void Append(std::string_view piece) noexcept;

    std::string_view message_;
    std::size_t offset_ = 0;
    bool done_ = false;
    // The last text may carry a full body and the end mark.
    std::array<char, kSegmentPrefix.size() + kSegmentBody + kEndMark.size() + 1> buffer_{};
    std::size_t length_ = 0;
};

/// @return the body of a carried segment text, or nothing when the text is no segment.
std::optional<std::string_view> SegmentBody(std::string_view carried) noexcept;

/// @return true when this body ends its message.
bool IsLastSegment(std::string_view body) noexcept;

/// Joins segment bodies by the number of their message. A message whose last segment never arrives stays until the
/// joiner is destroyed, because the wire has no time limit. One thread only.
class SegmentJoiner {
public:
    /// Adds the next body of message `number`. An empty body is ignored. A last body without a stored part is the whole
    /// message. A bare end mark completes the stored part, or is dropped when there is none.
    /// @return the joined message when this body was its last.
    std::optional<std::string> Add(uint32_t number, std::string_view body);

private:
    std::map<uint32_t, std::string> partial_;
};
