#include "workbench/verify/soak/MessageFlow.h"

#include <fmt/format.h>

#include <algorithm>

namespace verify {
namespace {

constexpr std::size_t kFaultsKept = 20;
constexpr std::size_t kRemembered = 200; // more than the channel ever holds

/// The log writes line ends in its own way and cannot show where a text ends in one.
std::string Normalised(std::string_view text) {
    std::string result(text);
    std::erase_if(result, [](char one) { return one == '\r' || one == '\n'; });
    return result;
}

/// Beginning, end and length: enough to find it in the log and to see what differs.
std::string Shown(const std::string& text) {
    constexpr std::size_t kShown = 150;
    return text.size() <= 2 * kShown ? fmt::format("{} ({} bytes)", text, text.size())
                                     : fmt::format("{} ... {} ({} bytes)", text.substr(0, kShown),
                                                   text.substr(text.size() - kShown), text.size());
}

} // namespace

void MessageFlow::Sent(std::string_view text, bool mayBeLost) {
    sent_.push_back({Normalised(text), mayBeLost});
    ++counts_.sent;
}

void MessageFlow::Got(std::string_view text) {
    got_.push_back(Normalised(text));
}

void MessageFlow::ExcuseFirst() {
    // One that may be lost already, because of an earlier hang, is not in flight any more.
    const auto first = std::find_if(sent_.begin() + static_cast<std::ptrdiff_t>(underway_), sent_.end(),
                                    [](const Entry& entry) { return !entry.mayBeLost; });
    if (first != sent_.end()) {
        first->mayBeLost = true;
    }
}

void MessageFlow::ExcuseAll() {
    for (std::size_t i = underway_; i < sent_.size(); ++i) {
        sent_[i].mayBeLost = true;
    }
}

void MessageFlow::Match(bool judge) {
    for (; !got_.empty(); got_.pop_front()) {
        const std::string& text = got_.front();
        const auto isText = [&](const Entry& entry) { return entry.text == text; };
        if (const auto entry = FindAwaited(text); entry != sent_.end()) {
            Deliver(entry);
        } else if (!judge) {
            return;
        } else if (unrecordedAllowed_ > 0 && std::none_of(sent_.begin(), sent_.end(), isText)) {
            --unrecordedAllowed_;
            ++counts_.unrecorded;
        } else {
            ++counts_.duplicated;
            AddFault("duplicated or never sent", text);
        }
    }
}

/// One that is underway rather than one that others have overtaken.
std::deque<MessageFlow::Entry>::iterator MessageFlow::FindAwaited(const std::string& text) {
    const auto isAwaited = [&](const Entry& entry) { return !entry.over && entry.text == text; };
    const auto underway = sent_.begin() + static_cast<std::ptrdiff_t>(underway_);
    const auto found = std::find_if(underway, sent_.end(), isAwaited);
    if (found != sent_.end()) {
        return found;
    }
    const auto overtaken = std::find_if(sent_.begin(), underway, isAwaited);
    return overtaken != underway ? overtaken : sent_.end();
}

void MessageFlow::Deliver(std::deque<Entry>::iterator entry) {
    ++counts_.delivered;
    entry->over = true;
    const auto number = static_cast<std::size_t>(entry - sent_.begin());
    if (number < underway_ && !entry->mayBeLost) {
        ++counts_.overtaken;
        AddFault("overtaken by a later one", entry->text);
    }
    underway_ = std::max(underway_, number + 1);
    // Of messages with the same text nobody can tell which has arrived: the excuse goes to another one.
    const auto twin = std::find_if(entry, sent_.end(), [&](const Entry& other) {
        return !other.over && !other.mayBeLost && other.text == entry->text;
    });
    if (entry->mayBeLost && twin != sent_.end()) {
        twin->mayBeLost = true;
    }
}

void MessageFlow::GiveUp() {
    Match(true);
    for (Entry& entry : sent_) {
        if (!entry.over && entry.mayBeLost) {
            ++counts_.lostExcused;
        } else if (!entry.over) {
            ++counts_.lost;
            AddFault("lost", entry.text);
        }
        entry.over = true;
    }
    while (sent_.size() > kRemembered) {
        sent_.pop_front();
    }
    underway_ = sent_.size();
    unrecordedAllowed_ = 0;
}

void MessageFlow::AddFault(const char* what, const std::string& text) {
    if (faults_.size() < kFaultsKept) {
        faults_.push_back(fmt::format("{} {}: {}", name_, what, Shown(text)));
    }
}

} // namespace verify
