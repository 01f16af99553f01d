#include "workbench/verify/hostile/Shots.h"

#include <fmt/ranges.h>

#include <algorithm>
#include <vector>

namespace verify {
namespace {

// They tell a window of its creation, its end and its title.
constexpr UINT kLifeMessages[] = {WM_CREATE, WM_DESTROY, WM_SETTEXT, WM_QUIT, WM_NCCREATE, WM_NCDESTROY};
constexpr UINT kPopupSystemMenu = 0x313;
constexpr std::size_t kBody = 1011; // bytes of a segment's body

constexpr std::string_view kMembers[] = {"confId",    "confOutlookId", "subject", "url",    "contents",
                                         "startTime", "endTime",       "code",    "message"};
constexpr std::string_view kTypes[] = {"101", "102", "103", "200"};
constexpr std::string_view kOddTypes[] = {"0",       "-1",    "104",        "201",   "101.0",       "1.01e2",
                                          "\"101\"", "[101]", "2147483648", "1e999", "-2147483649", "null",
                                          "true",    "0x65",  "101.5",      "",      "{}",          "4294967397"};
constexpr std::string_view kTimes[] = {"1767260400",           "0",          "-1",           "9223372036854775807",
                                       "-9223372036854775808", "4102444800", "253402300800", "-62135596801"};
// The three that follow hold one beside the other, with bars between. In UTF-8, in texts that are none, and in escapes:
constexpr std::string_view kTexts =
    "Projekt \xe4\xbc\x9a\xe8\xae\xae|x||A \\\"quoted\\\" one|\xf0\x9f\x98\x80|\xff\xfe|\xc0\x80|\xed\xa0\x80 alone|"
    "\xf4\x90\x80\x80|cut \xe4\xbc|\\u0000 within|\\ud83d\\ude00|lines\\r\\n[2026-01-01][P:1/T:1][Inf][forged]|"
    "%s%n%p%1000000d|https://meeting.nembra.example/j/1?a=b&c=%00|..\\\\..\\\\..\\\\windows";
constexpr std::string_view kWrong =
    "null|true|-0|1e308|1e-400|18446744073709551616|[]|{}|[1,[2,[3,{\"a\":\"b\"}]]]|\"1767260400\"|"
    "-9223372036854775809|99999999999999999999999999999999999999999999|3.4028236e38";
constexpr std::string_view kTokens =
    "{|}|[|]|:|,|\"|\\|\\u0000|\\ud800|\\uffff|null|true|-1|-0|1e999|1e-999|0x10|NaN|//|/*|*/|%s%n%p|%|\r\n|\xff|"
    "\xc0\x80|\xed\xa0\x80|\xf4\x90\x80\x80|\"notify\":|\"confId\":|\"contents\":|2147483648|9223372036854775808|"
    "-9223372036854775809|18446744073709551616|%pre_nbmsdk%|%end_flag%|NBM_NOTIFY_ID_SDK_DISCONNECTED";
// Refused with the whole message.
constexpr std::string_view kBroken[] = {R"(\ud83d alone)", R"(\ude00\ud83d)", R"(\uD83D\u0041)", R"(\x41)", "\\", "\""};

/// The pieces between the bars.
std::vector<std::string> Split(std::string_view text) {
    std::vector<std::string> pieces(1);
    for (const char one : text) {
        one == '|' ? void(pieces.emplace_back()) : pieces.back().push_back(one);
    }
    return pieces;
}

std::string Repeated(std::string_view piece, std::size_t times) {
    return fmt::format("{}", fmt::join(std::vector<std::string_view>(times, piece), ""));
}

std::string Quoted(std::string_view text) {
    return fmt::format("\"{}\"", text);
}

} // namespace

std::string_view Shot::Text() const noexcept {
    const std::string_view all = bytes ? std::string_view(*bytes) : std::string_view();
    return all.substr(0, all.find('\0'));
}

Shot Shots::Next() {
    const bool due = count_++ % kShotsPerMessage == 0;
    Shot shot;
    if (!planned_.empty()) {
        shot = std::move(planned_.front());
        planned_.pop_front();
    } else if (due) {
        shot = Message();
    } else {
        shot = Dropped();
        const std::string_view text = shot.Text();
        if (!text.empty() && (text.ends_with(wire::kEndMark) || KeptBytes() > kMostKept)) {
            shot.bytes->insert(0, 1, '!'); // a segment without the prefix is dropped
        }
    }
    shot.outcome = Predict(shot);
    return shot;
}

Outcome Shots::Predict(const Shot& shot) {
    // As a message it is the channel's own word for a client that is gone, and is read by nobody.
    constexpr std::string_view kDisconnected = "NBM_NOTIFY_ID_SDK_DISCONNECTED";
    if (shot.message != WM_COPYDATA) {
        return Outcome::Dropped;
    }
    const std::size_t before = KeptBytes();
    const std::string message =
        joiner_.Take(shot.number, shot.bytes ? shot.bytes->data() : nullptr, shot.bytes ? shot.bytes->size() : 0)
            .message;
    if (!message.empty() && message != kDisconnected) {
        return Outcome::Complete;
    }
    return KeptBytes() > before ? Outcome::Kept : Outcome::Dropped;
}

Shot Shots::Dropped() {
    switch (Below(20)) {
    case 0:
    case 1:
        return NoText();
    case 2:
        return OtherMessage();
    case 3: // around the prefix
        return CopyData(CollidingNumber(), std::string(wire::kPrefix.substr(0, 8 + Below(5))));
    case 4:
        return CopyData(CollidingNumber(), Mutated(std::string(wire::kPrefix) + SegmentBody()));
    default:
        return CopyData(CollidingNumber(), OneIn(2) ? Text() : std::string(wire::kPrefix) + SegmentBody());
    }
}

Shot Shots::Message() {
    switch (Below(12)) {
    case 0:
    case 1: // ends what others have left under the number, or nothing
        return CopyData(OneIn(5) ? FreshNumber() : CollidingNumber(),
                        fmt::format("{}{}{}", wire::kPrefix, OneIn(2) ? SegmentBody() : "", wire::kEndMark));
    case 2:
    case 3: { // in segments, as the wire wants it from 1024 bytes on, and joined to what is there under the number
        const std::uint64_t number = OneIn(2) ? FreshNumber() : CollidingNumber();
        for (const wire::Envelope& segment : wire::Split(Text() + std::string(1024 + Below(2000), ' '), 1)) {
            planned_.push_back(CopyData(number, segment.text));
        }
        Shot first = std::move(planned_.front());
        planned_.pop_front();
        return first;
    }
    default:
        return CopyData(0, Text());
    }
}

/// Mostly a notification that has enough in order to give the reader more to do than to refuse.
std::string Shots::Text() {
    switch (Below(12)) {
    case 0: // far more than the sender may put into one message, too
        return Bytes(Below(OneIn(200) ? 1 << 20 : 1500));
    case 1:
        return OneIn(8) ? Strange() : Notification(false);
    case 2:
    case 3:
    case 4:
        return Mutated(Notification(true));
    default:
        return Notification(true);
    }
}

Shot Shots::CopyData(std::uint64_t number, std::string text) {
    Shot shot;
    shot.number = number;
    if (!OneIn(4)) {
        text.push_back('\0');
    }
    shot.bytes = std::move(text);
    return shot;
}

Shot Shots::NoText() {
    static constexpr std::uint32_t kSizes[] = {0, 1, 12, 23, 1024, 65536, 0x7fffffff, 0x80000000, 0xffffffff};
    Shot shot;
    shot.number = OneIn(2) ? 0 : CollidingNumber();
    if (OneIn(3)) {
        shot.claimed = Any(kSizes);
    } else { // a pointer without bytes, or a text that ends at once
        shot.bytes = OneIn(2) ? std::string() : std::string(1, '\0') + Notification(false);
    }
    return shot;
}

Shot Shots::OtherMessage() {
    Shot shot;
    shot.toNotifyWindow = OneIn(5);
    if (OneIn(200)) {
        shot.message = WM_CLOSE;
        shot.toNotifyWindow = false;
    } else if (OneIn(2)) {
        shot.posted = OneIn(2);
        shot.message = OneIn(4) ? Any(kLifeMessages) : static_cast<UINT>(Below(WM_USER));
        const UINT message = shot.message;
        // WM_COPYDATA and WM_CLOSE are shots of another kind, and the menu waits for a person. The notification window
        // does not survive WM_NCDESTROY, and Outlook itself does not survive a posted WM_QUIT.
        if (message == WM_COPYDATA || message == WM_CLOSE || message == kPopupSystemMenu ||
            (shot.toNotifyWindow && (message == WM_NCDESTROY || (message == WM_QUIT && shot.posted)))) {
            shot.message = WM_NULL;
        }
    } else if (shot.toNotifyWindow) { // message 1025 carries a pointer there and is only sent with null, see the sender
        shot.message = static_cast<UINT>(WM_USER + Below(64));
    } else {
        shot.message = static_cast<UINT>(OneIn(2) ? WM_USER + Below(0x7c00) : 0xc000 + Below(0x4000));
    }
    return shot;
}

std::string Shots::SegmentBody() {
    switch (Below(6)) {
    case 0: { // the two halves of an end mark: joined they end nothing
        const std::size_t cut = 1 + Below(9);
        return std::string(OneIn(2) ? wire::kEndMark.substr(0, cut) : wire::kEndMark.substr(cut));
    }
    case 1:
        return fmt::format("{}x{}", wire::kEndMark, OneIn(2) ? wire::kEndMark : "");
    case 2:
        return Bytes(1 + Below(kBody));
    default: {
        const std::string text = Notification(false);
        return text.substr(Below(text.size()), 1 + Below(kBody));
    }
    }
}

std::uint64_t Shots::CollidingNumber() {
    static constexpr std::uint64_t kEdges[] = {1,           0x7fffffff,  0x80000000,           0xffffffff,
                                               0x100000000, 0x100000001, 0xffffffffffffffffULL};
    return OneIn(10) ? Any(kEdges) : 1 + Below(256);
}

/// Of those where nobody leaves parts.
std::uint64_t Shots::FreshNumber() {
    constexpr std::uint64_t kFirst = 1'000'000;
    return kFirst + Below(kFirst);
}

std::string Shots::Bytes(std::size_t length) {
    std::string bytes(length, '\0');
    std::generate(bytes.begin(), bytes.end(), [this] { return static_cast<char>(engine_() >> 24); });
    if (!OneIn(4)) {
        std::replace(bytes.begin(), bytes.end(), '\0', '0'); // else the text mostly ends after a few bytes
    }
    return bytes;
}

/// With one bit flipped, the rest cut off, or something else, perhaps nothing, in the place of some bytes or of none.
std::string Shots::Mutated(std::string text) {
    const auto at = static_cast<std::size_t>(Below(text.size() + 1));
    const auto length = static_cast<std::size_t>(1 + Below(16));
    static const std::vector<std::string> tokens = Split(kTokens);
    const std::string pieces[] = {"", text.substr(at, length), Any(tokens), Bytes(length)};
    switch (Below(7)) {
    case 0:
        if (at < text.size()) {
            text[at] = static_cast<char>(text[at] ^ (1 << Below(8)));
        }
        return text;
    case 1:
        return text.substr(0, at);
    default:
        return text.replace(at, OneIn(2) ? 0 : length, Any(pieces));
    }
}

std::string Shots::Notification(bool crooked) {
    static constexpr std::string_view kBetween[] = {",", ", ", ",\r\n\t", ", /* a comment */ "};
    const auto wrong = [&](std::uint64_t count) { return crooked && OneIn(count); };
    std::vector<std::string> members;
    if (!wrong(12)) {
        members.push_back(fmt::format("\"notify\":{}", wrong(6) ? Any(kOddTypes) : Any(kTypes)));
    }
    for (const std::string_view member : kMembers) {
        for (int twice = wrong(15) ? 2 : 1; twice != 0 && !wrong(8); --twice) {
            members.push_back(fmt::format("\"{}\":{}", member, wrong(5) ? WrongValue() : Value(member)));
        }
    }
    if (crooked && !members.empty()) {
        std::rotate(members.begin(), members.begin() + static_cast<std::ptrdiff_t>(Below(members.size())),
                    members.end());
    }
    return fmt::format("{{{}}}", fmt::join(members, crooked ? Any(kBetween) : kBetween[0]));
}

std::string Shots::Value(std::string_view member) {
    static const std::vector<std::string> texts = Split(kTexts);
    if (member == "startTime" || member == "endTime") {
        return std::string(Any(kTimes));
    }
    if (member == "code") {
        return OneIn(3) ? "404" : "0";
    }
    if (member == "confOutlookId") {
        return Quoted(OneIn(400) ? entryId_ : "00000000A1B2");
    }
    if (OneIn(100)) {
        return Quoted(Any(kBroken));
    }
    return Quoted(OneIn(50) ? LongText() : Any(texts));
}

std::string Shots::WrongValue() {
    static const std::vector<std::string> wrong = Split(kWrong);
    if (OneIn(4)) { // as deep as the reader goes, and deeper
        const std::size_t depth = OneIn(20) ? 1100 : Below(60);
        return std::string(depth, '[') + std::string(depth, ']');
    }
    return OneIn(3) ? Quoted(LongText()) : Any(wrong);
}

std::string Shots::LongText() {
    static constexpr std::size_t kLengths[] = {255, 256, 900, 1023, 1024, 2022, 5000, 16'500};
    static constexpr std::string_view kPieces[] = {"A", "\\n", "\xe4\xbc\x9a", "\\u4f1a", "\\\\"};
    return Repeated(Any(kPieces), Any(kLengths));
}

/// Texts that are hard on a reader: deep, long or many.
std::string Shots::Strange() {
    static constexpr std::size_t kDepths[] = {10, 999, 1000, 1001, 5000};
    const std::size_t depth = OneIn(20) ? 100'000 : Any(kDepths);
    switch (Below(5)) {
    case 0:
        return std::string(depth, '[');
    case 1:
        return Repeated("{\"a\":", depth) + "1" + std::string(depth, '}');
    case 2: // one long text, which becomes an appointment's
        return fmt::format(R"({{"notify":101,"subject":"{}"}})", Repeated("A\\n", depth));
    case 3: // the refusal quotes the number, and a line of the add-in's log that is too long is left out
        return fmt::format(R"({{"notify":{}}})", std::string(std::min<std::size_t>(depth, 5000), '9'));
    default: // many members
        return fmt::format(R"({{{}"notify":102}})", Repeated(R"("notify":1,)", depth));
    }
}

} // namespace verify
