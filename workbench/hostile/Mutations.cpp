#include "workbench/hostile/Mutations.h"

#include <algorithm>
#include <initializer_list>
#include <iterator>
#include <utility>

namespace hostile {
namespace {

constexpr std::uint32_t kUserMessage = 0x400;
constexpr std::size_t kWholeMost = 1023; // bytes of a message that goes whole
constexpr std::size_t kBody = 1011;      // bytes of a segment's body

constexpr std::string_view kTokens[] = {
    "{",
    "}",
    "[",
    "]",
    ":",
    ",",
    "\"",
    "\\",
    "\\u0000",
    "\\ud800",
    "\\uffff",
    "null",
    "true",
    "-1",
    "-0",
    "1e999",
    "1e-999",
    "0x10",
    "NaN",
    "//",
    "/*",
    "*/",
    "%s%n%p",
    "%",
    "\r\n",
    "\xff",
    "\xc0\x80",
    "\xed\xa0\x80",
    "\xf4\x90\x80\x80",
    "\"cmd\"",
    "\"nty\"",
    "\"rps\"",
    "\"description\"",
    "\"notify\":",
    "\"confId\":",
    "\"contents\":",
    "2147483647",
    "2147483648",
    "-2147483649",
    "9223372036854775807",
    "9223372036854775808",
    "-9223372036854775809",
    "18446744073709551616",
    "%pre_nbmsdk%",
    "%end_flag%",
    "NBM_NOTIFY_ID_SDK_DISCONNECTED",
};

constexpr std::string_view kTimes[] = {
    "1767260400", "0", "-1", "9223372036854775807", "-9223372036854775808", "4102444800", "\"1767260400\"", "1.5"};

constexpr std::string_view kTypes[] = {"101", "102", "103", "200", "201", "0", "-1", "101.0", "\"101\"", "2147483648"};

std::string Join(std::initializer_list<std::string_view> pieces) {
    std::string text;
    for (const std::string_view piece : pieces) {
        text.append(piece);
    }
    return text;
}

std::string Repeated(std::string_view piece, std::size_t times) {
    std::string text;
    text.reserve(piece.size() * times);
    for (; times != 0; --times) {
        text.append(piece);
    }
    return text;
}

} // namespace

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
    switch (Below(20)) {
    case 0:
    case 1:
        return NoText();
    case 2:
        return OtherMessage();
    case 3:
    case 4:
        shot.bytes = RandomBytes(Below(300));
        break;
    case 5: // around the prefix
        shot.bytes = std::string(kPrefix).substr(0, 8 + Below(5));
        break;
    case 6:
    case 7:
    case 8:
    case 9:
        shot.bytes = Notification();
        Mutate(shot.bytes);
        break;
    case 10: // far more than the sender may put into one message
        shot.bytes = OneIn(200) ? RandomBytes(Below(1 << 20)) : OneIn(10) ? Strange() : RandomBytes(Below(3000));
        break;
    case 11: // a whole message, which is then spoilt
        shot.bytes = Notification();
        shot.number = 0;
        break;
    default:
        shot.bytes = Join({kPrefix, SegmentBody()});
        if (OneIn(8)) {
            Mutate(shot.bytes);
        }
        break;
    }
    Terminate(shot);
    return shot;
}

Shot Mutations::Message() {
    Shot shot;
    switch (Below(10)) {
    case 0:
    case 1:
    case 2:
        return EndOfKept();
    case 3: {
        std::string text = Notification();
        text.insert(text.size() - 2, RandomBytes(Below(4000)));
        Mutate(text);
        PlanSegments(std::move(text));
        shot = std::move(planned_.front());
        planned_.pop_front();
        return shot;
    }
    case 4:
        shot.bytes = Strange();
        break;
    case 5:
        shot.bytes = RandomBytes(1 + Below(kWholeMost));
        break;
    default:
        shot.bytes = Notification();
        Mutate(shot.bytes);
        break;
    }
    Terminate(shot);
    return shot;
}

Shot Mutations::NoText() {
    static constexpr std::uint32_t kSizes[] = {0, 1, 12, 23, 1024, 65536, 0x7fffffff, 0x80000000, 0xffffffff};
    Shot shot;
    shot.number = OneIn(2) ? 0 : Number();
    switch (Below(3)) {
    case 0:
        break; // a pointer, no bytes
    case 1:
        shot.bytes = Join({std::string_view("\0", 1), Notification()});
        break;
    default:
        shot.null = true;
        shot.claimed = Any(kSizes);
        break;
    }
    return shot;
}

Shot Mutations::OtherMessage() {
    Shot shot;
    if (OneIn(200)) {
        shot.kind = Shot::Kind::CloseChannel;
    } else if (OneIn(5)) {
        // Message 1025 carries a pointer there and is only sent with null, see the sender.
        shot.kind = Shot::Kind::NotifyOther;
        shot.number = kUserMessage + Below(64);
    } else {
        shot.kind = Shot::Kind::ChannelOther;
        shot.number = OneIn(2) ? kUserMessage + Below(0x7c00) : 0xc000 + Below(0x4000);
    }
    return shot;
}

Shot Mutations::EndOfKept() {
    Shot shot;
    shot.number = 7;
    if (!window_.Kept().empty()) {
        auto at = window_.Kept().begin();
        std::advance(at, Below(window_.Kept().size()));
        shot.number = at->first;
    }
    if (shot.number == 0) { // what a number of more than 32 bits came to
        shot.number = std::uint64_t{1} << 32;
    }
    shot.bytes = Join({kPrefix, OneIn(2) ? std::string() : SegmentBody(), kEnd});
    Terminate(shot);
    return shot;
}

void Mutations::PlanSegments(std::string text) {
    const std::uint64_t number = Number();
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
    if (!OneIn(4)) {
        shot.bytes.push_back('\0');
    }
}

std::string Mutations::Notification() {
    static constexpr std::string_view kSubjects[] = {"Projekt \xe4\xbc\x9a\xe8\xae\xae", "x", "",
                                                     "A \\\"quoted\\\" one", "\xf0\x9f\x98\x80"};
    std::string text = R"({"notify":)";
    text.append(OneIn(4) ? Any(kTypes) : kTypes[0]);
    text.append(R"(,"confId":"700000001","confOutlookId":"00000000A1B2","subject":")").append(Any(kSubjects));
    text.append(R"(","url":"https://meeting.nembra.example/j/1","contents":"You are invited","startTime":)");
    text.append(Any(kTimes)).append(R"(,"endTime":)").append(Any(kTimes));
    return text.append(R"(,"code":0,"message":"success"})");
}

/// Texts that are hard on a reader.
std::string Mutations::Strange() {
    static constexpr std::size_t kDepths[] = {10, 999, 1000, 1001, 5000, 100'000};
    const std::size_t depth = Any(kDepths);
    switch (Below(6)) {
    case 0:
        return Repeated("[", depth);
    case 1:
        return Join({Repeated("{\"a\":", depth), "1", Repeated("}", depth)});
    case 2:
        return Join({R"({"notify":101,"subject":)", Repeated("[", depth), Repeated("]", depth), "}"});
    case 3: // one long text, which becomes an appointment's
        return Join({R"({"notify":101,"subject":")", Repeated("A\\n", depth), R"("})"});
    case 4: // the refusal quotes the number, and a line of the add-in's log that is too long is left out
        return Join({R"({"notify":)", Repeated("9", std::min<std::size_t>(depth, 5000)), "}"});
    default: // many members
        return Join({"{", Repeated(R"("notify":1,)", depth), R"("notify":102})"});
    }
}

std::string Mutations::RandomBytes(std::size_t length) {
    std::string bytes(length, '\0');
    for (char& byte : bytes) {
        byte = static_cast<char>(random_() >> 24);
    }
    if (!OneIn(4)) {
        std::replace(bytes.begin(), bytes.end(), '\0', '0'); // else the text mostly ends after a few bytes
    }
    return bytes;
}

std::string Mutations::SegmentBody() {
    switch (Below(6)) {
    case 0: { // the two halves of an end mark: joined they end nothing
        const std::size_t cut = 1 + Below(9);
        return OneIn(2) ? std::string(kEnd).substr(0, cut) : std::string(kEnd).substr(cut);
    }
    case 1:
        return Join({kEnd, "x", OneIn(2) ? kEnd : ""});
    case 2:
        return RandomBytes(1 + Below(kBody));
    default: {
        const std::string text = Notification();
        const std::size_t from = Place(text);
        return text.substr(from, 1 + Below(kBody));
    }
    }
}

std::uint64_t Mutations::Number() {
    static constexpr std::uint64_t kEdges[] = {1,           0x7fffffff,  0x80000000,           0xffffffff,
                                               0x100000000, 0x100000001, 0xffffffffffffffffULL};
    return OneIn(10) ? Any(kEdges) : 1 + Below(256);
}

void Mutations::Mutate(std::string& text) {
    if (OneIn(6)) {
        return;
    }
    for (std::uint64_t times = 1 + Below(4); times != 0; --times) {
        MutateOnce(text);
    }
}

void Mutations::MutateOnce(std::string& text) {
    const std::size_t at = Place(text);
    const auto length = static_cast<std::size_t>(1 + Below(16));
    switch (Below(7)) {
    case 0:
        if (at < text.size()) {
            text[at] = static_cast<char>(text[at] ^ (1 << Below(8)));
        }
        break;
    case 1:
        text.erase(at, length);
        break;
    case 2:
        text.insert(at, text.substr(at, length));
        break;
    case 3:
        text.insert(at, Any(kTokens));
        break;
    case 4:
        text.replace(at, std::min(length, text.size() - at), Any(kTokens));
        break;
    case 5:
        text.insert(at, RandomBytes(length));
        break;
    default:
        text.resize(at);
        break;
    }
}

} // namespace hostile
