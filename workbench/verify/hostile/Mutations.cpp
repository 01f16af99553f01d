#include "workbench/verify/hostile/Mutations.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace verify {
namespace {

// The system's messages, by the names of the platform's headers.
enum : std::uint32_t { kCreate = 0x1, kDestroy = 0x2, kSetText = 0xC, kClose = 0x10, kQuit = 0x12, kCopyData = 0x4A };
enum : std::uint32_t { kNcCreate = 0x81, kNcDestroy = 0x82, kPopupSystemMenu = 0x313, kUserMessage = 0x400 };
// They tell a window of its creation, its end and its title.
constexpr std::uint32_t kLifeMessages[] = {kCreate, kDestroy, kSetText, kQuit, kNcCreate, kNcDestroy};
constexpr std::size_t kWholeMost = 1023; // bytes of a message that goes whole
constexpr std::size_t kBody = 1011;      // bytes of a segment's body

constexpr std::uint64_t kFreeNumbers = 1'000'000; // from here on, as many, nobody leaves parts

// With blanks between.
constexpr std::string_view kTokens =
    "{ } [ ] : , \" \\ \\u0000 \\ud800 \\uffff null true -1 -0 1e999 1e-999 0x10 NaN // /* */ %s%n%p % \r\n "
    "\xff \xc0\x80 \xed\xa0\x80 \xf4\x90\x80\x80 \"cmd\" \"nty\" \"rps\" \"description\" \"notify\": "
    "\"confId\": \"contents\": 2147483647 2147483648 -2147483649 9223372036854775807 9223372036854775808 "
    "-9223372036854775809 18446744073709551616 %pre_nbmsdk% %end_flag% NBM_NOTIFY_ID_SDK_DISCONNECTED";

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
Shot Mutations::Next(Outcome& outcome) {
    const bool due = count_++ % kShotsPerMessage == 0;
    Shot shot;
    if (!planned_.empty()) {
        shot = std::move(planned_.front());
        planned_.pop_front();
    } else if (due) {
        shot = Message();
    } else {
        shot = Harmless();
        const Outcome expected = window_.Look(shot);
        if (expected == Outcome::Complete || (expected == Outcome::Kept && window_.KeptBytes() > kMostKept)) {
            Defuse(shot);
        }
    }
    outcome = window_.Take(shot);
    return shot;
}

/// A segment without the prefix is dropped.
void Mutations::Defuse(Shot& shot) {
    shot.number |= 1;
    shot.bytes = Join({"!", shot.bytes});
}

Shot Mutations::Harmless() {
    Shot shot;
    shot.number = Number();
    switch (dice_.Below(20)) {
    case 0:
    case 1:
        return NoText();
    case 2:
        return OtherMessage();
    case 3:
    case 4:
        shot.bytes = dice_.Bytes(dice_.Below(300));
        break;
    case 5: // around the prefix
        shot.bytes = std::string(kPrefix).substr(0, 8 + dice_.Below(5));
        break;
    case 6:
    case 7:
    case 8:
    case 9:
        shot.bytes = notifications_.Honest();
        Mutate(shot.bytes);
        break;
    case 10: // far more than the sender may put into one message
        shot.bytes = dice_.OneIn(200)  ? dice_.Bytes(dice_.Below(1 << 20))
                     : dice_.OneIn(10) ? notifications_.Strange()
                                       : dice_.Bytes(dice_.Below(3000));
        break;
    case 11: // a whole message, which is then spoilt
        shot.bytes = notifications_.Honest();
        shot.number = 0;
        break;
    default:
        shot.bytes = Join({kPrefix, SegmentBody()});
        if (dice_.OneIn(8)) {
            Mutate(shot.bytes);
        }
        break;
    }
    Terminate(shot);
    return shot;
}

Shot Mutations::Message() {
    Shot shot;
    switch (dice_.Below(12)) {
    case 0:
    case 1:
        return EndOfKept();
    case 2: // in segments, as the wire wants it from 1024 bytes on
    case 3:
        PlanSegments(Spoilt(notifications_.Crooked() + std::string(static_cast<std::size_t>(dice_.Below(2000)), ' ')));
        shot = std::move(planned_.front());
        planned_.pop_front();
        return shot;
    case 4:
        shot.bytes = dice_.OneIn(10) ? notifications_.Strange() : dice_.Bytes(1 + dice_.Below(kWholeMost));
        break;
    case 5:
        shot.bytes = notifications_.Honest();
        break;
    default:
        shot.bytes = Spoilt(notifications_.Crooked());
        break;
    }
    Terminate(shot);
    return shot;
}

/// Mostly as it was, so that the reader has more to do than to refuse.
std::string Mutations::Spoilt(std::string text) {
    if (dice_.OneIn(3)) {
        MutateOnce(text);
    }
    return text;
}

Shot Mutations::NoText() {
    static constexpr std::uint32_t kSizes[] = {0, 1, 12, 23, 1024, 65536, 0x7fffffff, 0x80000000, 0xffffffff};
    Shot shot;
    shot.number = dice_.OneIn(2) ? 0 : Number();
    switch (dice_.Below(3)) {
    case 0:
        break; // a pointer, no bytes
    case 1:
        shot.bytes = Join({std::string_view("\0", 1), notifications_.Honest()});
        break;
    default:
        shot.null = true;
        shot.claimed = dice_.Any(kSizes);
        break;
    }
    return shot;
}

Shot Mutations::OtherMessage() {
    Shot shot;
    if (dice_.OneIn(200)) {
        shot.kind = Shot::Kind::CloseChannel;
    } else if (dice_.OneIn(3)) {
        return SystemMessage();
    } else if (dice_.OneIn(5)) {
        // Message 1025 carries a pointer there and is only sent with null, see the sender.
        shot.kind = Shot::Kind::NotifyOther;
        shot.number = kUserMessage + dice_.Below(64);
    } else {
        shot.kind = Shot::Kind::ChannelOther;
        shot.number = dice_.OneIn(2) ? kUserMessage + dice_.Below(0x7c00) : 0xc000 + dice_.Below(0x4000);
    }
    return shot;
}

Shot Mutations::SystemMessage() {
    Shot shot;
    shot.kind = dice_.OneIn(5) ? Shot::Kind::NotifyOther : Shot::Kind::ChannelOther;
    shot.posted = dice_.OneIn(2);
    shot.number = dice_.OneIn(4) ? dice_.Any(kLifeMessages) : dice_.Below(kUserMessage);
    const auto is = [&](auto... numbers) { return ((shot.number == numbers) || ...); };
    // WM_COPYDATA and WM_CLOSE are shots of another kind, and the menu waits for a person. The notification window does
    // not survive WM_NCDESTROY, and Outlook itself does not survive a posted WM_QUIT.
    if (is(kCopyData, kClose, kPopupSystemMenu) ||
        (shot.kind == Shot::Kind::NotifyOther && (is(kNcDestroy) || (is(kQuit) && shot.posted)))) {
        shot.number = 0; // WM_NULL
    }
    return shot;
}

Shot Mutations::EndOfKept() {
    Shot shot;
    shot.number = 7;
    if (!window_.Kept().empty()) {
        auto at = window_.Kept().begin();
        std::advance(at, dice_.Below(window_.Kept().size()));
        shot.number = at->first;
    }
    if (shot.number == 0) { // what a number of more than 32 bits came to
        shot.number = std::uint64_t{1} << 32;
    }
    shot.bytes = Join({kPrefix, dice_.OneIn(2) ? std::string() : SegmentBody(), kEnd});
    Terminate(shot);
    return shot;
}

void Mutations::PlanSegments(std::string text) {
    std::uint64_t number = Number(); // joined to what another has left under it, or to nothing
    if (dice_.OneIn(2)) {
        number = kFreeNumbers + dice_.Below(kFreeNumbers);
    }
    text = text.substr(0, text.find('\0'));
    for (std::size_t at = 0; at == 0 || at < text.size(); at += kBody) {
        const bool last = text.size() - at <= kBody;
        Shot shot;
        shot.number = number;
        shot.bytes = Join({kPrefix, text.substr(at, kBody), last ? kEnd : ""});
        Terminate(shot);
        planned_.push_back(std::move(shot));
    }
}

void Mutations::Terminate(Shot& shot) {
    if (!dice_.OneIn(4)) {
        shot.bytes.push_back('\0');
    }
}

std::string Mutations::SegmentBody() {
    switch (dice_.Below(6)) {
    case 0: { // the two halves of an end mark: joined they end nothing
        const std::size_t cut = 1 + dice_.Below(9);
        return dice_.OneIn(2) ? std::string(kEnd).substr(0, cut) : std::string(kEnd).substr(cut);
    }
    case 1:
        return Join({kEnd, "x", dice_.OneIn(2) ? kEnd : ""});
    case 2:
        return dice_.Bytes(1 + dice_.Below(kBody));
    default: {
        const std::string text = notifications_.Honest();
        const std::size_t from = Place(text);
        return text.substr(from, 1 + dice_.Below(kBody));
    }
    }
}

std::uint64_t Mutations::Number() {
    static constexpr std::uint64_t kEdges[] = {1,           0x7fffffff,  0x80000000,           0xffffffff,
                                               0x100000000, 0x100000001, 0xffffffffffffffffULL};
    return dice_.OneIn(10) ? dice_.Any(kEdges) : 1 + dice_.Below(256);
}

void Mutations::Mutate(std::string& text) {
    if (dice_.OneIn(6)) {
        return;
    }
    for (std::uint64_t times = 1 + dice_.Below(4); times != 0; --times) {
        MutateOnce(text);
    }
}

std::string_view Mutations::Token() {
    static const std::vector<std::string_view> tokens = Split(kTokens, ' ');
    return dice_.Any(tokens);
}

void Mutations::MutateOnce(std::string& text) {
    const std::size_t at = Place(text);
    const auto length = static_cast<std::size_t>(1 + dice_.Below(16));
    switch (dice_.Below(7)) {
    case 0:
        if (at < text.size()) {
            text[at] = static_cast<char>(text[at] ^ (1 << dice_.Below(8)));
        }
        break;
    case 1:
        text.erase(at, length);
        break;
    case 2:
        text.insert(at, text.substr(at, length));
        break;
    case 3:
        text.insert(at, Token());
        break;
    case 4:
        text.replace(at, std::min(length, text.size() - at), Token());
        break;
    case 5:
        text.insert(at, dice_.Bytes(length));
        break;
    default:
        text.resize(at);
        break;
    }
}

} // namespace verify
