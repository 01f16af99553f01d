#pragma once

#include <cstddef>
#include <deque>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace verify {

/// One direction of the channel, which keeps the order: what was sent must be got once and in that order. Needs no
/// Windows. One thread.
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
    bool Empty() const { return got_.empty() && underway_.empty(); }
    /// The wait is over: what is underway now is lost, which is a fault unless it was excused.
    void GiveUp();

    std::size_t SentCount() const { return sentCount_; }
    std::size_t Delivered() const { return delivered_; }
    std::size_t LostExcused() const { return lostExcused_; }
    std::size_t Lost() const { return lost_; }
    std::size_t Overtaken() const { return overtaken_; } // came, but after one that was sent later
    std::size_t Duplicated() const { return duplicated_; }
    std::size_t Unrecorded() const { return unrecorded_; }
    /// Those not taken yet, in words.
    std::vector<std::string> TakeFaults() { return std::exchange(faults_, {}); }
    /// The messages that were taken for ones that a killed sender had not written down.
    const std::vector<std::string>& Forgiven() const { return forgiven_; }

private:
    struct Entry {
        std::string text;
        bool mayBeLost;
    };
    void Remember(const std::string& text);
    bool WasDelivered(const std::string& text) const;
    bool TakeBackLoss(const std::string& text);
    void PassExcuseOn(std::deque<Entry>::iterator from);
    void Judge(const std::string& text);
    void Lose(const Entry& entry);
    std::string FaultText(const char* what, const std::string& text) const;
    void AddFault(const char* what, const std::string& text);

    std::string name_;
    std::deque<Entry> underway_;
    std::deque<std::string> got_;
    std::deque<std::string> lately_; // delivered
    std::deque<Entry> lostLately_;
    std::size_t sentCount_ = 0;
    std::size_t delivered_ = 0;
    std::size_t lostExcused_ = 0;
    std::size_t lost_ = 0;
    std::size_t overtaken_ = 0;
    std::size_t duplicated_ = 0;
    std::size_t unrecorded_ = 0;
    std::size_t unrecordedAllowed_ = 0;
    std::vector<std::string> faults_;
    std::vector<std::string> forgiven_;
};

} // namespace verify
