#include "workbench/verify/soak/MessageFlow.h"

#include <algorithm>
#include <iterator>

namespace verify {
namespace {

constexpr std::size_t kShownText = 150;
constexpr std::size_t kFaultsKept = 20;
constexpr std::size_t kRemembered = 200; // more than the channel ever holds

/// The log writes line ends in its own way and cannot show where a text ends in one.
std::string Normalised(std::string_view text) {
    std::string result;
    std::copy_if(text.begin(), text.end(), std::back_inserter(result), [](char c) { return c != '\r' && c != '\n'; });
    return result;
}

/// Beginning, end and length: enough to find it in the log and to see what differs.
std::string Shown(const std::string& text) {
    const std::string length = " (" + std::to_string(text.size()) + " bytes)";
    return text.size() <= 2 * kShownText
               ? text + length
               : text.substr(0, kShownText) + " ... " + text.substr(text.size() - kShownText) + length;
}

} // namespace

void MessageFlow::Sent(std::string_view text, bool mayBeLost) {
    underway_.push_back({Normalised(text), mayBeLost});
    ++sentCount_;
}

void MessageFlow::Got(std::string_view text) {
    got_.push_back(Normalised(text));
}

void MessageFlow::ExcuseFirst() {
    // One that may be lost already, because of an earlier hang, is not in flight any more.
    const auto first =
        std::find_if(underway_.begin(), underway_.end(), [](const Entry& entry) { return !entry.mayBeLost; });
    if (first != underway_.end()) {
        first->mayBeLost = true;
    }
}

void MessageFlow::ExcuseAll() {
    for (Entry& entry : underway_) {
        entry.mayBeLost = true;
    }
}

void MessageFlow::Match(bool judge) {
    while (!got_.empty()) {
        const auto found = std::find_if(underway_.begin(), underway_.end(),
                                        [&](const Entry& entry) { return entry.text == got_.front(); });
        if (found != underway_.end()) {
            // Messages that were sent before it can no longer arrive.
            std::for_each(underway_.begin(), found, [this](const Entry& entry) { Lose(entry); });
            PassExcuseOn(found);
            underway_.erase(underway_.begin(), found + 1);
            Remember(got_.front());
        } else if (!judge) {
            return;
        } else {
            Judge(got_.front());
        }
        got_.pop_front();
    }
}

/// Of messages with the same text nobody can tell which has arrived.
void MessageFlow::PassExcuseOn(std::deque<Entry>::iterator from) {
    if (from->mayBeLost) {
        const auto twin = std::find_if(from + 1, underway_.end(), [&](const Entry& entry) {
            return !entry.mayBeLost && entry.text == from->text;
        });
        if (twin != underway_.end()) {
            twin->mayBeLost = true;
        }
    }
}

/// Of a message that came and that nothing underway explains.
void MessageFlow::Judge(const std::string& text) {
    if (TakeBackLoss(text)) {
        return;
    }
    if (unrecordedAllowed_ > 0 && !WasDelivered(text)) {
        --unrecordedAllowed_;
        ++unrecorded_;
        forgiven_.push_back(name_ + " of a killed sender: " + Shown(text));
        return;
    }
    ++duplicated_;
    AddFault("duplicated or never sent", text);
}

/// A message that was given up because a later one had come is not lost when it comes after all.
bool MessageFlow::TakeBackLoss(const std::string& text) {
    const auto found =
        std::find_if(lostLately_.begin(), lostLately_.end(), [&](const Entry& entry) { return entry.text == text; });
    if (found == lostLately_.end()) {
        return false;
    }
    if (found->mayBeLost) {
        --lostExcused_;
    } else {
        --lost_;
        ++overtaken_;
        std::erase(faults_, FaultText("lost", text));
        AddFault("overtaken by a later one", text);
    }
    lostLately_.erase(found);
    Remember(text);
    return true;
}

void MessageFlow::Remember(const std::string& text) {
    ++delivered_;
    lately_.push_back(text);
    if (lately_.size() > kRemembered) {
        lately_.pop_front();
    }
}

bool MessageFlow::WasDelivered(const std::string& text) const {
    return std::find(lately_.begin(), lately_.end(), text) != lately_.end();
}

void MessageFlow::GiveUp() {
    Match(true);
    std::for_each(underway_.begin(), underway_.end(), [this](const Entry& entry) { Lose(entry); });
    underway_.clear();
    lostLately_.clear();
    unrecordedAllowed_ = 0;
}

void MessageFlow::Lose(const Entry& entry) {
    lostLately_.push_back(entry);
    if (lostLately_.size() > kRemembered) {
        lostLately_.pop_front();
    }
    if (entry.mayBeLost) {
        ++lostExcused_;
        return;
    }
    ++lost_;
    AddFault("lost", entry.text);
}

std::string MessageFlow::FaultText(const char* what, const std::string& text) const {
    return name_ + " " + what + ": " + Shown(text);
}

void MessageFlow::AddFault(const char* what, const std::string& text) {
    if (faults_.size() < kFaultsKept) {
        faults_.push_back(FaultText(what, text));
    }
}

} // namespace verify
