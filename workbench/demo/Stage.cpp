#include "workbench/demo/Stage.h"

#include "workbench/client/Meetings.h"
#include "workbench/host/Pump.h"
#include "workbench/process/OwnProgram.h"

#include "support/OleTime.h"
#include "support/Text.h"

#include <algorithm>
#include <map>
#include <utility>

namespace demo {
namespace {

constexpr DATE kNow = 46084.375;       // 2026-03-03 09:00 UTC, so that the story is the same each time
constexpr unsigned kDialogShown = 600; // ms
constexpr unsigned kHandled = 100;     // ms; the add-in posts a notification to this thread right after its log line
constexpr unsigned kSilence = 300;     // ms; the channel sends what waits every 20 ms
constexpr long kChineseUi = 2052;
constexpr long kEnglishUi = 1033;
constexpr std::int64_t kMeetingStart = 1'772'618'400; // 2026-03-04 10:00 UTC
constexpr std::int64_t kMeetingEnd = kMeetingStart + 3600;

workbench::HostOptions HostOptionsOf(const Options& options) {
    workbench::HostOptions host;
    host.language = options.chinese ? kChineseUi : kEnglishUi;
    host.now = kNow;
    host.habits.drawRibbon = true; // the demo presses what is drawn
    return host;
}

/// "4 (schedule)"
std::wstring Named(int number) {
    static const std::map<int, const wchar_t*> names = {
        {kOpen, L"open"},
        {kStart, L"start"},
        {kSchedule, L"schedule"},
        {kCancel, L"cancel"},
        {kModify, L"modify"},
        {kScheduled, L"scheduled"},
        {kModified, L"modify result"},
        {kCancelled, L"cancel result"},
        {kChanged, L"meeting changed"},
    };
    return std::to_wstring(number) + L" (" + names.at(number) + L")";
}

/// Empty when the text is not an object.
Json::Value Parsed(const std::string& text) {
    return meeting_client::ParseObject(text).value_or(Json::Value(Json::objectValue));
}

void Click(workbench::HostWindow& view, const wchar_t* controlId) {
    if (!view.Click(controlId)) {
        throw StepFailed("the button is not on the ribbon");
    }
}

} // namespace

bool Holds(const workbench::Item& item, const Json::Value& notification) {
    const auto same = [&](const std::wstring& text, const char* key) {
        return text == ToWide(notification[key].asString());
    };
    return same(item.Subject(), "subject") && same(item.Location(), "url") && same(item.Body(), "contents") &&
           UnixSecondsFromOleDate(item.fields.startUtc) == notification["startTime"].asInt64() &&
           UnixSecondsFromOleDate(item.fields.endUtc) == notification["endTime"].asInt64();
}

Stage::Stage(const Options& given)
    : options(given),
      dll(given.dll.empty() ? process::FindBuilt(L"OutlookAddIn.dll") : ToWide(given.dll)),
      story(given.colour, given.pace),
      camera(ToWide(given.pictures), given.chinese ? L"-zh" : L"-en"),
      outlook(HostOptionsOf(given)) {
    outlook.AddStore(L"kim@example.org");
    if (options.verbose) {
        outlook.Observe([this](const workbench::Step& step) { story.Plain(step.text); });
    }
}

std::wstring Stage::LabelOf(const wchar_t* controlId) {
    for (const workbench::Surface surface : {workbench::Surface::Explorer, workbench::Surface::Appointment}) {
        if (workbench::Ribbon& ribbon = addIn->Ribbon(surface); ribbon.Find(controlId)) {
            return ribbon.Label(controlId, nullptr);
        }
    }
    return controlId;
}

// --- The client's process ---

void Stage::StartClient() {
    if (HasClient()) {
        return;
    }
    story.Act(L"The meeting client is started as a process of its own", 25'000);
    meeting_client::ClientSettings settings;
    settings.arguments = {L"--max-seconds", L"180"};
    TakeClient(std::move(settings));
    story.Data(L"process",
               std::to_wstring(client_->ProcessId()) + L", Outlook is " + std::to_wstring(::GetCurrentProcessId()));
    story.Data(L"its window", L"NbmProxyOutlookClientWnd");
}

void Stage::TakeClient(meeting_client::ClientSettings settings) {
    settings.whileWaiting = [] { workbench::PumpFor(1); };
    client_ = std::make_unique<meeting_client::ClientProcess>(std::move(settings));
    commands.ofClient = 0;
    notifications.ofClient = 0;
}

void Stage::EndClient() {
    if (!HasClient()) {
        return;
    }
    story.Act(L"The user ends the meeting client");
    if (!client_->Quit()) {
        throw StepFailed("the client did not end when it was asked to");
    }
    story.Data(L"exit code", std::to_wstring(client_->ExitCode().value_or(999)));
    client_.reset();
}

void Stage::Order(const std::string& order) {
    const meeting_client::OrderResult result = client_->Order(order);
    if (!result.done) {
        throw StepFailed("the client refused \"" + order + "\": " + result.reason);
    }
}

void Stage::FillForm() {
    const std::string subject = ToUtf8(In(L"Weekly planning", L"每周例会"));
    Json::Value form(Json::objectValue);
    form["subject"] = subject;
    form["startTime"] = Json::Int64(kMeetingStart);
    form["endTime"] = Json::Int64(kMeetingEnd);
    form["contents"] = ToUtf8(In(L"You are invited to a NEMBRA CLOUD meeting.\r\n\r\nSubject: ",
                                 L"邀请您参加Nembra云会议。\r\n\r\n主题：")) +
                       subject + ToUtf8(In(L"\r\nTime: ", L"\r\n时间：")) + "2026-03-04 10:00 - 11:00 UTC\r\n";
    Order("answer 4 merge " + meeting_client::Compact(form));
}

// --- Buttons, commands, notifications ---

void Stage::Press(const wchar_t* controlId, workbench::HostWindow& view, const std::wstring& where) {
    story.Act(L"\"" + LabelOf(controlId) + L"\" is pressed " + where);
    Click(view, controlId);
    log.Tell(story, L"Action item id: ");
}

void Stage::PressInExplorer(const wchar_t* folder, const wchar_t* controlId) {
    explorer->SwitchFolder(folder);
    explorer->Activate();
    const std::wstring tab = explorer->Folder() == L"Calendar" ? L"Calendar" : L"Mail";
    Press(controlId, *explorer->View(), L"on the " + tab + L" tab of the main window");
}

void Stage::PressInAppointment(const workbench::InspectorPtr& inspector, const wchar_t* controlId) {
    Press(controlId, *inspector->View(), L"in the window \"" + inspector->Caption() + L"\"");
}

std::string Stage::AwaitMessage(const std::wstring& step, Way& way,
                                const std::function<bool(const std::string&)>& alsoNeeded) {
    std::string message;
    story.Await(step, [&] {
        const std::vector<std::string> messages = client_->Messages(way.direction);
        if (messages.size() <= way.ofClient) {
            return false;
        }
        message = messages[way.ofClient];
        return alsoNeeded(message);
    });
    ++way.ofClient;
    ++way.all;
    return message;
}

Json::Value Stage::AwaitCommand(int number) {
    const std::string text =
        AwaitMessage(L"The client receives command " + Named(number) + L" by WM_COPYDATA", commands);
    const Json::Value command = Parsed(text);
    const bool whole = commandsShown_.insert(number).second;
    story.Data(L"command", whole ? ToWide(text) : OneLine(ToWide(text)));
    if (!meeting_client::CommandFaults(command).empty() || command["cmd"] != number) {
        throw StepFailed("this is not the command " + std::to_string(number));
    }
    return command;
}

void Stage::AwaitNoCommand() {
    workbench::PumpFor(kSilence);
    story.Check(L"The client receives no command", client_->Messages("in").size() == commands.ofClient);
}

Json::Value Stage::AwaitNotification(int number) {
    const std::string text = AwaitMessage(L"The client sends notification " + Named(number), notifications);
    story.Data(L"notification", OneLine(ToWide(text)));
    const Json::Value notification = Parsed(text);
    if (notification["notify"] != number) {
        throw StepFailed("this is not the notification " + std::to_string(number));
    }
    log.Tell(story, L"Type: " + std::to_wstring(number));
    workbench::PumpFor(kHandled);
    return notification;
}

void Stage::AwaitExchange(Command command, Notification answer) {
    AwaitCommand(command);
    AwaitNotification(answer);
}

workbench::ItemPtr Stage::FindByConference(const std::wstring& confId) const {
    const std::vector<workbench::ItemPtr> items = outlook.Appointments();
    // The newest: each process of the stand-in client begins its ids anew.
    const auto found = std::find_if(items.rbegin(), items.rend(), [&](const workbench::ItemPtr& item) {
        return item->Comment().find(L"\"" + confId + L"\"") != std::wstring::npos;
    });
    return found == items.rend() ? nullptr : *found;
}

workbench::ItemPtr Stage::AwaitFilled(const Json::Value& notification, const workbench::ItemPtr& expected) {
    workbench::ItemPtr item;
    story.Await(L"The appointment is filled, marked and displayed", [&] {
        item = FindByConference(ToWide(notification["confId"].asString()));
        return item && (!expected || item == expected) && Holds(*item, notification) && item->Displayed() &&
               item->MeetingStatus() == workbench::kMeeting;
    });
    TellAppointment(item);
    return item;
}

void Stage::TellAppointment(const workbench::ItemPtr& item, bool withMarker) {
    story.Data(L"subject", item->Subject());
    story.Data(L"location", item->Location());
    story.Data(L"start, end",
               workbench::DateText(item->fields.startUtc) + L", " + workbench::DateText(item->fields.endUtc));
    if (!withMarker) {
        return;
    }
    story.Data(L"status", std::to_wstring(item->MeetingStatus()) + L" (meeting)");
    story.Data(L"marker", OneLine(item->Comment()));
    story.Data(L"body", OneLine(item->Body()));
    if (const workbench::InspectorPtr inspector = item->OpenedInspector()) {
        story.Data(L"window", L"\"" + inspector->Caption() + L"\"");
    }
}

void Stage::TellMarker(const std::wstring& before, const workbench::ItemPtr& item, MarkerNow expected) {
    const std::wstring after = item->Comment();
    if (after == before) {
        story.Data(L"marker", OneLine(after) + L", unchanged");
    } else {
        story.Data(L"marker before", OneLine(before));
        story.Data(L"marker after", after.empty() ? L"none: it went with the appointment" : OneLine(after));
    }
    const bool right = expected == MarkerNow::Same   ? after == before
                       : expected == MarkerNow::Gone ? after.empty()
                                                     : after.find(L"\"is_new_item\" : false") != std::wstring::npos;
    if (!right) {
        throw StepFailed("the marker is not what it should be");
    }
}

ScheduledMeeting Stage::MakeMeeting(const wchar_t* subject) {
    story.Act(std::wstring(L"The user schedules \"") + subject + L"\" in the window of a new appointment");
    ScheduledMeeting made{outlook.NewAppointment(), {}};
    made.item->fields.subject = subject;
    Click(*outlook.OpenInspector(made.item)->View(), kScheduleAppointment);
    const auto filled = [&](const std::string& notification) {
        const Json::Value scheduled = Parsed(notification);
        made.confId = scheduled["confId"].asString();
        return scheduled["notify"] == kScheduled && Holds(*made.item, scheduled) && made.item->Displayed() &&
               made.item->Comment().find(L"is_new_item") != std::wstring::npos;
    };
    AwaitMessage(L"The client has scheduled it, the add-in has filled the appointment", notifications, filled);
    ++commands.ofClient;
    ++commands.all;
    story.Data(L"marker", OneLine(made.item->Comment()));
    return made;
}

std::wstring Stage::TellDialog(const workbench::DialogSeen& seen) {
    story.Data(L"caption", seen.caption);
    std::wstring all;
    for (const std::wstring& text : seen.texts) {
        all += text;
    }
    story.Data(L"text", OneLine(all));
    for (const workbench::DialogButton& button : seen.buttons) {
        if (button.visible) {
            story.Data(L"button", button.text + (button.isDefault ? L" (default)" : L""));
        }
    }
    wchar_t title[256] = L"";
    ::GetWindowTextW(seen.owner, title, 256);
    story.Data(L"over", L"\"" + std::wstring(title) + L"\"" + (seen.ownerDisabled ? L", which waits" : L""));
    story.Data(L"answered", seen.answer == kCloseBox  ? L"with the close box"
                            : seen.answer == kSyncNow ? L"\"" + std::wstring(In(L"Sync now", L"立即同步")) + L"\""
                                                      : L"\"" + std::wstring(In(L"Later", L"稍后")) + L"\"");
    return all;
}

void Stage::AwaitDialog(const ExpectedDialog& expected, HWND owner, const std::function<void()>& cause) {
    workbench::DialogResponder responder(expected.answer);
    responder.showMilliseconds = kDialogShown;
    responder.whileOpen = [&](const workbench::DialogSeen& seen) {
        expected.whileOpen();
        if (!expected.picture.empty()) {
            camera.Take(expected.picture, seen.window);
            camera.Take(expected.picture + L"-over-window", seen.owner);
        }
    };
    cause();
    story.Await(
        expected.what, [&] { return responder.Done(); }, 30'000);
    ++dialogs;
    const workbench::DialogSeen seen = responder.Last();
    const std::wstring all = TellDialog(seen);
    const bool right = all.find(expected.text) != std::wstring::npos && seen.owner == owner && seen.ownerDisabled &&
                       seen.smallIconWidth != 0;
    if (!right) {
        throw StepFailed("it is not the dialog that should come here (text, owner, modality or icon)");
    }
    if (!camera.Missed().empty()) {
        throw StepFailed("nobody took the picture " + ToUtf8(camera.Missed()));
    }
}

} // namespace demo
