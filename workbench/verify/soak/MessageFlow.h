#pragma once

#include <cstddef>
#include <deque>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace verify {

/// One direction of the channel, which keeps the order: what was sent must be got once and in that order. One thread.
class MessageFlow {
public:
    explicit MessageFlow(std::string name) : name_(std::move(name)) {}

    /// @param mayBeLost the sender was not told that it arrived.
    void Sent(std::string_view text, bool mayBeLost = false);
    void Got(std::string_view text);

    /// One end died: the message that was in flight, the oldest one underway, may be lost.
    void ExcuseFirst();
    /// The receiver did not answer for about as long as its senders wait.
    void ExcuseAll();
    /// The sender died: it may have sent one message more than it had the time to write down.
    void ExcuseUnrecorded() { ++unrecordedAllowed_; }

    /// Pairs what was got with what was sent. @param judge all that was sent is known by now, so that a message which
    /// fits to none was delivered twice or made up.
    void Match(bool judge);
    /// After `Match(false)`: something was got that nobody is known to have sent.
    bool Undecided() const { return !got_.empty(); }
    /// Everything sent has arrived or cannot any more, and everything got was sent.
    bool Empty() const { return got_.empty() && underway_ == sent_.size(); }
    /// The wait is over: what has not arrived is lost, which is a fault unless it was excused.
    void GiveUp();

    /// Numbers of messages.
    struct Counts {
        std::size_t sent = 0;
        std::size_t delivered = 0;
        std::size_t lostExcused = 0;
        std::size_t lost = 0;
        std::size_t overtaken = 0; // came, but after one that was sent later
        std::size_t duplicated = 0;
        std::size_t unrecorded = 0;
    };
    const Counts& Count() const { return counts_; }
    /// The faults not taken yet, in words.
    std::vector<std::string> TakeFaults() { return std::exchange(faults_, {}); }

private:
    struct Entry {
        std::string text;
        bool mayBeLost;
        bool over = false; // delivered or given up
    };
    std::deque<Entry>::iterator FindAwaited(const std::string& text);
    void Deliver(std::deque<Entry>::iterator entry);
    void AddFault(const char* what, const std::string& text);

    std::string name_;
    std::deque<Entry> sent_;   // of now, and the last ones of before
    std::size_t underway_ = 0; // the first one in `sent_` that is behind all those that have arrived
    std::deque<std::string> got_;
    Counts counts_;
    std::size_t unrecordedAllowed_ = 0;
    std::vector<std::string> faults_;
};

} // namespace verify
