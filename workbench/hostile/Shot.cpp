#include "workbench/hostile/Shot.h"

#include <string_view>

namespace hostile {
namespace {

// As a message it is the channel's own word for a client that is gone, and is read by nobody.
constexpr std::string_view kDisconnected = "NBM_NOTIFY_ID_SDK_DISCONNECTED";

std::string_view TextOf(const Shot& shot) {
    const std::string_view all = shot.null ? std::string_view() : std::string_view(shot.bytes);
    return all.substr(0, all.find('\0'));
}

} // namespace

WindowModel::Sorted WindowModel::Sort(const Shot& shot) const {
    Sorted sorted;
    std::string_view text = TextOf(shot);
    if (shot.kind != Shot::Kind::CopyData) {
        return sorted;
    }
    if (shot.number == 0) {
        sorted.outcome = text.empty() || text == kDisconnected ? Outcome::Dropped : Outcome::Complete;
        return sorted;
    }
    const std::string_view prefix = kPrefix;
    if (!text.starts_with(prefix) || text.size() == prefix.size()) {
        return sorted;
    }
    text.remove_prefix(prefix.size());
    sorted.segment = true;
    sorted.number = static_cast<std::uint32_t>(shot.number);
    sorted.body = text.size();
    if (!text.ends_with(kEnd)) {
        sorted.outcome = Outcome::Kept;
        return sorted;
    }
    text.remove_suffix(std::string_view(kEnd).size());
    const bool something = kept_.contains(sorted.number) || (!text.empty() && text != kDisconnected);
    sorted.outcome = something ? Outcome::Complete : Outcome::Dropped;
    return sorted;
}

Outcome WindowModel::Take(const Shot& shot) {
    const Sorted sorted = Sort(shot);
    if (!sorted.segment) {
        return sorted.outcome;
    }
    if (sorted.outcome == Outcome::Kept) {
        kept_[sorted.number] += sorted.body;
        keptBytes_ += sorted.body;
    } else if (const auto found = kept_.find(sorted.number); found != kept_.end()) {
        keptBytes_ -= found->second;
        kept_.erase(found);
    }
    return sorted.outcome;
}

} // namespace hostile
