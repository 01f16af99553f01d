#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

/// The text side of the window messages: how one message is cut into carried texts and joined again. Messages are
/// opaque UTF-8 without zero bytes. Needs no Windows.

/// A message up to this length travels whole; with its terminator it fills 1024 bytes.
inline constexpr std::size_t kMaxWholeMessage = 1023;
/// Message bytes in every segment but the last.
inline constexpr std::size_t kSegmentBody = 1011;
inline constexpr std::string_view kSegmentPrefix = "%pre_nbmsdk%";
inline constexpr std::string_view kEndMark = "%end_flag%";

/// The number after `number`. Never 0, which stands for a whole message on the wire.
constexpr uint32_t NextSequence(uint32_t number) noexcept {
    const uint32_t next = number + 1;
    return next == 0 ? 1 : next;
}

/// Numbers segmented messages. Any thread; no two calls give the same number before the count wraps.
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

/// Cuts one message of more than `kMaxWholeMessage` bytes into carried texts. One buffer serves all of them; the
/// message is not copied as a whole and must outlive the splitter.
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

/// Joins segment bodies by their message's number. A message whose last segment never comes stays until the joiner
/// dies: the wire has no time limit. One thread.
class SegmentJoiner {
public:
    /// Takes the next body of message `number`. An empty one is ignored. A last segment without stored part is the
    /// whole message; a bare end mark ends what is stored and is dropped when nothing is.
    /// @return the joined message when this body was its last.
    std::optional<std::string> Add(uint32_t number, std::string_view body);

private:
    std::map<uint32_t, std::string> partial_;
};
