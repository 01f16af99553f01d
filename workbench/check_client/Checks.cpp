#include "workbench/check_client/Session.h"

#include "workbench/check_client/Tap.h"
#include "workbench/client/Meetings.h"

#include "support/OleTime.h"
#include "support/Text.h"

#include <fmt/format.h>
#include <json/writer.h>

#include <algorithm>

namespace check_client {
namespace {

constexpr std::size_t kCut = 1011; // message bytes in a full segment
constexpr int kBurst = 200;
constexpr char kNoButton[] = "the button is not on the ribbon";
constexpr char kUnknown[] = "no-such-meeting";
constexpr char kSubject[] = "Projekt 会议 🎉";

// --- Commands ---

Json::Value Command(int number, const std::string& subject = {}, const std::string& confId = {}) {
    Json::Value command;
    command["cmd"] = number;
    command["subject"] = subject;
    command["confId"] = confId;
    command["confOutlookId"] = confId.empty() ? "" : "00000000A1B2";
    command["startTime"] = subject.empty() ? 0 : 1'767'260'400; // 2026-01-01 09:40 UTC
    command["endTime"] = subject.empty() ? 0 : 1'767'264'000;
    command["centerX"] = 960;
    command["centerY"] = 520;
    return command;
}

/// In the layout of the add-in.
std::string Styled(const Json::Value& command) {
    Json::StreamWriterBuilder writer;
    writer["indentation"] = "\t";
    return Json::writeString(writer, command) + "\n";
}

std::string CancelUnknown() {
    return Styled(Command(5, {}, kUnknown));
}

/// A command of exactly that many bytes. It needs no person, because the client knows no such meeting.
std::string Unknown(int number, std::size_t bytes) {
    Json::Value command = Command(number, kSubject, kUnknown);
    command["confOutlookId"] = "";
    command["confOutlookId"] = std::string(bytes - Styled(command).size(), 'A');
    return Styled(command);
}

/// A schedule command in two segments. The cut is `inside` bytes after the beginning of the subject.
std::string ScheduleCutInside(const std::string& subject, std::size_t inside) {
    const std::string text = meeting_client::Compact(Command(4, subject));
    return std::string(kCut - inside - text.find(subject), ' ') + text + std::string(kCut / 2, ' ');
}

// --- Parts of checks ---

void Require(bool holds, const std::string& otherwise) {
    if (!holds) {
        throw NotPassed(Verdict::Fail, otherwise);
    }
}

void NeedForTest(bool holds, const char* otherwise) {
    if (!holds) {
        throw NotPassed(Verdict::NotTested, otherwise);
    }
}

/// @param success whether the code must be the one of success or another one; nothing when any will do.
void Expect(const Json::Value& answer, int type, std::optional<bool> success = {}) {
    Require(!answer.isNull(), "the client did not answer");
    const int got = NumberOf(answer["notify"]);
    Require(got == type, fmt::format("the client answered with {} instead of {}", got, type));
    const bool right = !success || (NumberOf(answer["code"]) == 0) == *success;
    Require(right, success == true ? "the code is not 0" : "the code is 0");
}

void ExpectAnswer(Session& session, const std::string& message = CancelUnknown()) {
    Require(!session.Ask(message).isNull(), "the client did not answer");
}

bool SameTime(const Json::Value& seconds, DATE date) {
    return seconds.isInt64() && seconds.asInt64() == UnixSecondsFromOleDate(date);
}

struct Meeting {
    workbench::ItemPtr item;
    Json::Value scheduled;
    bool filled = false; ///< the add-in has written the client's data into the appointment
};

/// Schedules by the add-in's button in a new appointment.
Meeting MakeMeeting(Session& session) {
    session.AskPerson("If the client asks, confirm the meeting without a change.");
    Meeting meeting{session.Outlook().NewAppointment(), {}};
    workbench::Item& item = *meeting.item;
    item.fields.subject = ToWide(kSubject);
    NeedForTest(session.Outlook().OpenInspector(item)->View()->Click(L"BookMeetingAppointment"), kNoButton);
    meeting.scheduled = session.NextAnswer();
    if (meeting.scheduled["notify"] == 101 && meeting.scheduled["url"].isString()) {
        const std::wstring url = ToWide(meeting.scheduled["url"].asString());
        meeting.filled = session.Await("the appointment", [&] { return item.Displayed() && item.Location() == url; });
    }
    return meeting;
}

Meeting NeedMeeting(Session& session) {
    Meeting meeting = MakeMeeting(session);
    NeedForTest(meeting.filled, "the client schedules no meeting");
    return meeting;
}

/// The user saves and closes the appointment, and the add-in sends a modify command.
Json::Value SaveMeeting(Session& session, const Meeting& meeting) {
    meeting.item->fields.subject += L", March";
    meeting.item->Save();
    meeting.item->Close(workbench::kCloseSave);
    return session.NextAnswer();
}

// --- Windows ---

void CheckLogIn(Session& session) {
    session.StartClient();
    session.AwaitLogInForm();
    const bool early = !Session::WindowsOfClass().empty();
    session.LogIn();
    Require(!early, "the window was there before the log-in");
}

void CheckName(Session& session) {
    session.named = session.Window() != nullptr;
    Require(!Session::WindowsOfClass().empty(), "there is no window of this class after the log-in");
    Require(session.named, "the window has the class but not the title");
}

void CheckKind(Session& session) {
    Require(!::IsWindowVisible(session.Window()), "the window is visible");
}

void CheckNewWindow(Session& session) {
    NeedForTest(!session.Ask(CancelUnknown()).isNull(), "the client does not answer"); // and so knows the old window
    session.RemoveAddInWindow();
    session.ReturnAddInWindow();
    ExpectAnswer(session);
}

void CheckVanishedWindow(Session& session) {
    session.RemoveAddInWindow();
    session.Send(CancelUnknown());
    session.LetAnswersPass();
    session.ReturnAddInWindow();
    ExpectAnswer(session);
}

void CheckLaunch(Session& session) {
    constexpr char kNotStarted[] = "the launch URI starts no client";
    session.EndClient();
    NeedForTest(session.PressStart(), kNoButton);
    Require(session.AwaitLogInForm(), kNotStarted);
    session.PressStart(); // the client has no window yet, so the add-in launches it again
    session.LogIn();
    Require(session.Window() != nullptr, kNotStarted);
    const bool answers = !session.Ask(CancelUnknown()).isNull();
    session.windowsAfterSecondLaunch = Session::WindowsOfClass().size();
    Require(answers, "the client did not answer");
}

void CheckSecondLaunch(Session& session) {
    NeedForTest(session.windowsAfterSecondLaunch.has_value(), "the launch URI starts no client");
    Require(*session.windowsAfterSecondLaunch == 1, "the second URI made a second window");
}

// --- Answers ---

void CheckSchedule(Session& session) {
    const auto [item, answer, filled] = MakeMeeting(session);
    Expect(answer, 101);
    Require(answer["subject"] == ToUtf8(item->Subject()) && SameTime(answer["startTime"], item->fields.startUtc) &&
                SameTime(answer["endTime"], item->fields.endUtc),
            "subject or times are not those of the command");
    item->Close(workbench::kCloseDiscard);
    session.NextAnswer(); // to the cancel command
    Require(filled, "the add-in did not fill the appointment");
}

/// @param whole the answer to a command that came whole; this then sends the same command in segments.
void ExpectBoth(Session& session, const Json::Value& whole, int number, int type) {
    Expect(whole, type, true);
    Expect(session.Ask(Unknown(number, 1500)), type, false);
}

void CheckModify(Session& session) {
    const Json::Value answer = SaveMeeting(session, NeedMeeting(session));
    ExpectBoth(session, answer, 6, 102);
}

void CheckCancel(Session& session) {
    NeedMeeting(session).item->Close(workbench::kCloseDiscard);
    ExpectBoth(session, session.NextAnswer(), 5, 103);
}

void CheckFailureCode(Session& session) {
    Expect(session.Ask(CancelUnknown()), 103, false);
}

void CheckNoAnswer(Session& session) {
    for (const int number : {0, 1, 2, 3}) {
        session.Send(Styled(Command(number)));
    }
    Expect(session.Ask(CancelUnknown()), 103);
}

void CheckChange(Session& session) {
    const Meeting meeting = NeedMeeting(session);
    const bool modified = !SaveMeeting(session, meeting).isNull();
    NeedForTest(modified && meeting.scheduled["confId"].isString(), "the client modifies no meeting");
    if (session.settings.change) {
        session.settings.change(meeting.scheduled["confId"].asString());
    } else {
        const bool asked = session.AskPerson("Change the subject of the meeting in the client.");
        NeedForTest(asked, "nobody changes a meeting in the client");
    }
    const Json::Value change = session.Next("a notification of type 200", {200}, session.settings.limit);
    Require(!change.isNull(), "the client sent no 200");
    for (const char* member : {"subject", "url", "contents", "startTime", "endTime", "confOutlookId"}) {
        Require(change.isMember(member), std::string("the 200 has no ") + member);
    }
    Require(change["confOutlookId"] == ToUtf8(meeting.item->EntryId()), "confOutlookId is not the entry id");
}

// --- Segments ---

void CheckCutInside(Session& session) {
    session.AskPerson("If the client asks, confirm two meetings without a change.");
    for (const auto& [subject, inside] : {std::pair{"会议 🎉", 1U}, std::pair{"🎉 会议", 2U}}) {
        const Json::Value answer = session.Ask(ScheduleCutInside(subject, inside));
        Expect(answer, 101);
        Require(answer["subject"] == subject, "a character at a cut was damaged");
    }
}

void CheckInterleaved(Session& session) {
    const auto first = wire::Split(Unknown(6, 2023), session.NextNumber());
    const auto second = wire::Split(Unknown(6, 2023), session.NextNumber());
    for (std::size_t i = 0; i < first.size(); ++i) {
        session.SendEnvelope(first[i]);
        session.SendEnvelope(second[i]);
    }
    const bool both = !session.AnswerToSent().isNull() && !session.AnswerToSent().isNull();
    Require(both, "the client did not answer both");
}

void CheckHalf(Session& session) {
    session.SendEnvelope(wire::Split(Unknown(6, 3000), session.NextNumber()).front());
    ExpectAnswer(session);
    ExpectAnswer(session, Unknown(6, 2000));
}

/// @param words with which a noticed fault begins. @param segmented messages that are needed in segments.
void CheckNoted(const Session& session, const std::vector<const char*>& words, std::size_t segmented) {
    for (const std::string& fault : session.faults) {
        const bool ours = std::ranges::any_of(words, [&](const char* word) { return fault.starts_with(word); });
        Require(!ours, fault);
    }
    NeedForTest(!session.notifications.empty() && session.segmented >= segmented,
                "too few messages came, or too few in segments");
}

void CheckSegmentedAnswer(Session& session) {
    session.AskPerson("If the client asks, confirm two meetings without a change.");
    std::string subject;
    for (int i = 0; i < 250; ++i) { // nearly the longest in Outlook; three bytes each in the answer
        subject += "会";
    }
    for (int i = 0; i < 2; ++i) {
        Expect(session.Ask(Styled(Command(4, subject))), 101);
    }
    CheckNoted(session, {"whole message too long"}, 2);
}

// --- Mishaps ---

void CheckGarbage(Session& session) {
    const std::string prefix(wire::kPrefix);
    const std::string end(wire::kEndMark);
    std::string noise;
    for (int i = 0; i < 500; ++i) {
        noise += static_cast<char>((i * 167 + 13) % 251 + 1);
    }
    for (const std::uint32_t number : {0U, session.NextNumber()}) {
        session.SendEnvelope(number, nullptr, 0);
        session.SendEnvelope(number, noise.data(), noise.size()); // without a NUL
        for (const std::string& text :
             {std::string(), prefix, prefix + noise + end, prefix + end, std::string("[]"), std::string("null"),
              std::string("{}"), std::string("{\"cmd\":4"), std::string("{\"cmd\":\"4\",\"subject\":7}"),
              std::string("{\"cmd\":99}"), std::string("{\"cmd\":1e99}"), std::string(1023, '['),
              std::string("{\"cmd\":6,\"confId\":{},\"startTime\":[]}\0{", 38)}) {
            session.SendEnvelope({number, text});
        }
    }
    session.Send(noise + noise + noise);
    session.LetAnswersPass(); // they are no answers to the next command
    ExpectAnswer(session);
}

void CheckBurst(Session& session) {
    tap::Forward(false); // the answers would wait in the add-in for several seconds
    for (int i = 0; i < kBurst; ++i) {
        session.Send(CancelUnknown());
    }
    int answers = 0;
    while (answers < kBurst && !session.AnswerToSent().isNull()) {
        ++answers;
    }
    tap::Forward(true);
    Require(answers == kBurst, fmt::format("the client answered {} of {} commands", answers, kBurst));
}

// --- Members of the notifications ---

using Names = std::vector<const char*>;
using HasType = bool (Json::Value::*)() const;

/// @param requiredFor types of notifications.
void CheckMember(const Session& session, const Names& names, HasType hasType, const std::vector<int>& requiredFor) {
    bool seen = false;
    for (const Json::Value& notification : session.notifications) {
        const int type = NumberOf(notification["notify"]);
        for (const char* name : names) {
            const bool has = notification.isMember(name);
            seen = seen || has;
            const bool right = (notification[name].*hasType)() || !(has || std::ranges::count(requiredFor, type));
            Require(right, fmt::format("a {} has no \"{}\" of this type", type, name));
        }
    }
    NeedForTest(seen, "no notification has this member");
}

Rule Sized(const char* id, const char* sentence, std::size_t bytes) {
    return {id, sentence, true, [=](Session& session) { ExpectAnswer(session, Unknown(6, bytes)); }};
}

Rule Noted(const char* id, const char* sentence, const Names& words, std::size_t segmented = 0) {
    return {id, sentence, false, [=](const Session& session) { CheckNoted(session, words, segmented); }};
}

Rule Member(const char* id, const char* sentence, const Names& names, HasType type, const std::vector<int>& required) {
    return {id, sentence, false, [=](const Session& session) { CheckMember(session, names, type, required); }};
}

} // namespace

const std::vector<Rule>& Rules() {
    using Json::Value;
    static const std::vector<Rule> rules = {
        {"after-log-in", "The client should create its window only when the user is logged in.", false, CheckLogIn},
        {"window-name", "Class and title are the same text.", false, CheckName},
        {"window-kind", "| client | `NbmProxyOutlookClientWnd` | message-only or hidden |", true, CheckKind},
        {"schedule",
         "| 4 | schedule | `subject`, `startTime`, `endTime`; nothing when it comes from the main window | 101 |", true,
         CheckSchedule},
        {"modify", "| 6 | modify | `subject`, `confId`, `confOutlookId`, `startTime`, `endTime` | 102 |", true,
         CheckModify},
        {"cancel", "| 5 | cancel | `confId`, `confOutlookId` | 103 |", true, CheckCancel},
        {"failure-code", "0: success; any other value is logged as a failure.", true, CheckFailureCode},
        {"no-answer", "| 2 | start a meeting (with video) | | |", true, CheckNoAnswer},
        {"change", "Send 200 with all five members `subject`, `url`, `contents`, `startTime` and `endTime`.", true,
         CheckChange},
        Sized("size-1023", "| 1023 bytes | whole, `dwData` 0, `cbData` 1024 |", 1023),
        Sized("size-1024", "| 1024 bytes | 1011 bytes; 13 bytes and the end mark |", 1024),
        Sized("size-2022", "| 2022 bytes | 1011 bytes; 1011 bytes and the end mark |", 2022),
        Sized("size-2023", "| 2023 bytes | 1011 bytes; 1011 bytes; 1 byte and the end mark |", 2023),
        Sized("size-64-kib", "Only memory limits the length of a message and the number of waiting messages.", 65'536),
        {"cut-anywhere", "A cut may fall anywhere, also inside a UTF-8 character.", true, CheckCutInside},
        {"interleaved", "Segments of several messages may arrive interleaved.", true, CheckInterleaved},
        {"half-message", "The client then holds a message without an end and may discard it.", true, CheckHalf},
        {"answer-in-segments", "From 1024 bytes on it is sent in segments.", true, CheckSegmentedAnswer},
        {"garbage", "Any program on the same desktop and at the same integrity level can send.", true, CheckGarbage},
        {"new-window", "Look the window up again when the handle is no longer valid.", true, CheckNewWindow},
        {"vanished-window", "The client must not end when the add-in's window is missing.", true, CheckVanishedWindow},
        {"burst", "The client must not lose a command that arrives while it works on others.", true, CheckBurst},
        {"launch", "The client registers the scheme `quorvex`.", false, CheckLaunch},
        {"second-launch", "A running client without a window may receive the URI too.", false, CheckSecondLaunch},
        Noted("same-level", "Both processes must run on one desktop and at one integrity level.",
              {"Windows denied access"}),
        Noted("returns-in-time",
              "The procedure should copy the text and return, and the client should do its work later.",
              {"the procedure did not return"}),
        Noted("sender", "| `wParam` | the sender's own window |", {"wParam"}),
        Noted("number", "| `dwData` | 0: a whole message. 1 to 4294967295: a segment of the message with this number |",
              {"number beyond 32 bits"}),
        Noted("length", "| `cbData` | length of the carried text in bytes, plus 1 |", {"cbData is not the length + 1"}),
        Noted("carried-text", "| `lpData` | the carried text and a terminating NUL |",
              {"no bytes", "not NUL-terminated", "empty text"}),
        Noted("prefix", "Each segment carries `%pre_nbmsdk%` (12 bytes) and then its body.",
              {"segment without its prefix"}, 1),
        Noted("body-size", "Every body except the last has exactly 1011 bytes.", {"segment of a wrong size"}, 1),
        Noted("last-body-size", "The last body consists of the remaining 1 to 1011 message bytes and the end mark.",
              {"last segment of a wrong size"}, 1),
        Noted("own-numbers",
              "All segments of a message carry the same number. It differs from the number of the message before.",
              {"two messages in a row", "last segment without a first one"}, 2),
        Noted("json", "A notification is a JSON object in UTF-8, in any layout.", {"no JSON object"}),
        Member("member-notify", "| `notify` | integer, 32 bits, required |", {"notify"}, &Value::isInt, {}),
        Member("member-subject", "| `subject` | string | 101, 200 |", {"subject"}, &Value::isString, {101}),
        Member("member-url", "| `url` | string | 101, 200 |", {"url"}, &Value::isString, {101}),
        Member("member-contents", "| `contents` | string | 101, 200 |", {"contents"}, &Value::isString, {101}),
        Member("member-times", "| `startTime`, `endTime` | integer, 64 bits | 101, 200 |", {"startTime", "endTime"},
               &Value::isInt64, {101}),
        Member("member-conf-id", "| `confId` | string | 101 |", {"confId"}, &Value::isString, {101}),
        Member("member-outlook-id", "| `confOutlookId` | string | 200 |", {"confOutlookId"}, &Value::isString, {}),
        Member("member-code", "| `code` | integer, 32 bits | 102, 103 |", {"code"}, &Value::isInt, {102, 103}),
        Member("member-message", "| `message` | string | |", {"message"}, &Value::isString, {}),
    };
    return rules;
}

} // namespace check_client
