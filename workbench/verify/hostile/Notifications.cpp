#include "workbench/verify/hostile/Notifications.h"

#include <algorithm>
#include <iterator>
#include <vector>

namespace verify {
namespace {

constexpr std::string_view kMembers[] = {"confId",    "confOutlookId", "subject", "url",    "contents",
                                         "startTime", "endTime",       "code",    "message"};

constexpr std::string_view kTypes[] = {"101", "102", "103", "200"};

constexpr std::string_view kOddTypes[] = {"0",       "-1",    "104",        "201",   "101.0",       "1.01e2",
                                          "\"101\"", "[101]", "2147483648", "1e999", "-2147483649", "null",
                                          "true",    "0x65",  "101.5",      "",      "{}",          "4294967397"};

constexpr std::string_view kTimes[] = {"1767260400",           "0",          "-1",           "9223372036854775807",
                                       "-9223372036854775808", "4102444800", "253402300800", "-62135596801"};

// In UTF-8, in texts that are none, and in escapes; with bars between.
constexpr std::string_view kTexts =
    "Projekt \xe4\xbc\x9a\xe8\xae\xae|x||A \\\"quoted\\\" one|\xf0\x9f\x98\x80|\xff\xfe|\xc0\x80|\xed\xa0\x80 alone|"
    "\xf4\x90\x80\x80|cut \xe4\xbc|\\u0000 within|\\ud83d\\ude00|lines\\r\\n[2026-01-01][P:1/T:1][Inf][forged]|"
    "%s%n%p%1000000d|https://meeting.nembra.example/j/1?a=b&c=%00|..\\\\..\\\\..\\\\windows";

// Refused with the whole message.
constexpr std::string_view kBroken[] = {R"(\ud83d alone)", R"(\ude00\ud83d)", R"(\uD83D\u0041)", R"(\x41)", "\\", "\""};

constexpr std::string_view kWrong = "null|true|-0|1e308|1e-400|18446744073709551616|[]|{}|[1,[2,[3,{\"a\":\"b\"}]]]|"
                                    "\"1767260400\"|-9223372036854775809|"
                                    "99999999999999999999999999999999999999999999|3.4028236e38";

bool IsTime(std::string_view member) {
    return member == "startTime" || member == "endTime";
}

} // namespace

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

std::vector<std::string_view> Split(std::string_view text, char separator) {
    std::vector<std::string_view> pieces;
    for (;;) {
        const std::size_t end = text.find(separator);
        pieces.push_back(text.substr(0, end));
        if (end == std::string_view::npos) {
            return pieces;
        }
        text.remove_prefix(end + 1);
    }
}

std::string Dice::Bytes(std::size_t length) {
    std::string bytes(length, '\0');
    for (char& byte : bytes) {
        byte = static_cast<char>(engine_() >> 24);
    }
    if (!OneIn(4)) {
        std::replace(bytes.begin(), bytes.end(), '\0', '0'); // else the text mostly ends after a few bytes
    }
    return bytes;
}

std::string Notifications::Quoted(std::string_view text) {
    return Join({"\"", text, "\""});
}

std::string Notifications::LongText() {
    static constexpr std::size_t kLengths[] = {255, 256, 900, 1023, 1024, 2022, 5000, 16'500};
    static constexpr std::string_view kPieces[] = {"A", "\\n", "\xe4\xbc\x9a", "\\u4f1a", "\\\\"};
    return Repeated(dice_.Any(kPieces), dice_.Any(kLengths));
}

std::string Notifications::Value(std::string_view member) {
    static const std::vector<std::string_view> texts = Split(kTexts, '|');
    if (IsTime(member)) {
        return std::string(dice_.Any(kTimes));
    }
    if (member == "code") {
        return dice_.OneIn(3) ? "404" : "0";
    }
    if (member == "confOutlookId") {
        return Quoted(dice_.OneIn(400) ? entryId_ : "00000000A1B2");
    }
    if (dice_.OneIn(100)) {
        return Quoted(dice_.Any(kBroken));
    }
    return Quoted(dice_.OneIn(50) ? LongText() : std::string(dice_.Any(texts)));
}

std::string Notifications::WrongValue() {
    static const std::vector<std::string_view> wrong = Split(kWrong, '|');
    switch (dice_.Below(5)) {
    case 0: { // as deep as the reader goes, and deeper
        const std::size_t depth = dice_.OneIn(20) ? 1100 : static_cast<std::size_t>(dice_.Below(60));
        return Join({Repeated("[", depth), Repeated("]", depth)});
    }
    case 1:
        return Quoted(LongText());
    case 2:
        return std::string(dice_.Any(kTimes));
    default:
        return std::string(dice_.Any(wrong));
    }
}

std::string Notifications::Honest() {
    std::string text = Join({"{\"notify\":", dice_.Any(kTypes)});
    for (const std::string_view member : kMembers) {
        text.append(",\"").append(member).append("\":").append(Value(member));
    }
    return text.append("}");
}

std::string Notifications::Crooked() {
    std::vector<std::string> members;
    if (!dice_.OneIn(12)) {
        members.push_back(Join({"\"notify\":", dice_.OneIn(6) ? dice_.Any(kOddTypes) : dice_.Any(kTypes)}));
    }
    for (const std::string_view member : kMembers) {
        for (int twice = dice_.OneIn(15) ? 2 : 1; twice != 0 && !dice_.OneIn(8); --twice) {
            members.push_back(Join({"\"", member, "\":", dice_.OneIn(5) ? WrongValue() : Value(member)}));
        }
    }
    for (std::size_t i = members.size(); i > 1; --i) {
        std::swap(members[i - 1], members[static_cast<std::size_t>(dice_.Below(i))]);
    }
    static constexpr std::string_view kBetween[] = {",", ",", ",", ", ", ",\r\n\t", ", /* a comment */ "};
    const std::string_view between = dice_.Any(kBetween);
    std::string text = "{";
    for (std::size_t i = 0; i < members.size(); ++i) {
        text.append(i == 0 ? "" : between).append(members[i]);
    }
    return text.append("}");
}

std::string Notifications::Strange() {
    static constexpr std::size_t kDepths[] = {10, 999, 1000, 1001, 5000, 100'000};
    const std::size_t depth = dice_.OneIn(20) ? kDepths[std::size(kDepths) - 1] : dice_.Any(kDepths) % 5001;
    switch (dice_.Below(6)) {
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

} // namespace verify
