#include "workbench/fieldtest/Field.h"

#include "workbench/client/Meetings.h"

#include "support/Text.h"
#include "support/UniqueResource.h"

#include <cmath>
#include <cstdio>

namespace fieldtest {
namespace {

using meeting_client::Compact;
using meeting_client::ParseObject;

enum Command : int { kSchedule = 4, kCancel = 5, kModify = 6 };
constexpr long kMeeting = 1;                                                         // olMeeting
constexpr long kLanguageOfUi = 2;                                                    // msoLanguageIDUI
constexpr GUID kExplorerEvents = {0x0006304F, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}}; // the first generation
constexpr wchar_t kAddInKey[] = L"Software\\Microsoft\\Office\\Outlook\\Addins\\NembraMeeting.OutlookAddin";
constexpr wchar_t kManaged[] = L"Software\\Microsoft\\Office\\16.0\\Outlook\\Resiliency\\AddinList";
constexpr wchar_t kTypeLib[] = L"Software\\Classes\\TypeLib\\{712AA455-0C84-4E6F-B754-C84B08BB0681}\\1.0";
constexpr wchar_t kOverlay[] = L"SOFTWARE\\Microsoft\\Office\\ClickToRun\\REGISTRY\\MACHINE\\";
constexpr const char* kInLog = "the add-in's log";
constexpr const char* kInModel = "the object model";

Outcome Pass(std::string text) {
    return {Verdict::Pass, std::move(text)};
}

void Expect(bool holds, const char* what) {
    if (!holds) {
        throw StepEnd{{Verdict::Fail, std::string("not as it should be: ") + what}};
    }
}

void Need(bool holds) {
    if (!holds) {
        throw StepEnd{{Verdict::NotObserved, "an earlier step, on which this one builds, did not pass"}};
    }
}

std::string YesNo(bool yes) {
    return yes ? "yes" : "no";
}

Json::Value MarkerOf(IDispatch* item) {
    return ParseObject(Text(Child(item, L"FormDescription"), L"Comment")).value_or(Json::objectValue);
}

/// Describes which members of the appointment differ from the notification; empty when none does.
std::string Differences(IDispatch* item, const Json::Value& notification) {
    constexpr double kEpoch = 25569; // 1970-01-01 in days
    constexpr double kDay = 86400;   // seconds
    std::string different;
    const struct {
        const wchar_t* member;
        const char* key;
    } texts[] = {{L"Subject", "subject"}, {L"Location", "url"}};
    for (const auto& [member, key] : texts) {
        different += Text(item, member) == notification[key].asString() ? "" : std::string(key) + " ";
    }
    // Outlook may end the body with a line of its own.
    different += Text(item, L"Body").starts_with(notification["contents"].asString()) ? "" : "contents ";
    const auto differs = [&](const wchar_t* member, const char* key) {
        const double seconds = (static_cast<double>(Get(item, member)) - kEpoch) * kDay;
        return std::abs(seconds - static_cast<double>(notification[key].asInt64())) > 1;
    };
    different += differs(L"StartUTC", "startTime") ? "startTime " : "";
    return different + (differs(L"EndUTC", "endTime") ? "endTime " : "");
}

/// The next notification of that type that the client sends.
Json::Value LastNotification(Field& field, int type) {
    Json::Value notification(Json::objectValue);
    field.AwaitMachine(
        [&] {
            const auto sent = field.client->Messages("out");
            notification = sent.size() > field.notificationsSeen ? ParseObject(sent.back()).value_or(Json::objectValue)
                                                                 : Json::Value(Json::objectValue);
            return notification["notify"] == type;
        },
        "notification " + std::to_string(type) + " of the client");
    field.notificationsSeen = field.client->Messages("out").size();
    return notification;
}

/// Waits until the answer to a schedule command has filled an appointment. @return its conference id.
std::string AwaitFilled(Field& field) {
    const Json::Value notification = LastNotification(field, 101);
    const std::string confId = notification["confId"].asString();
    OpenItem open;
    field.AwaitMachine(
        [&] {
            open = field.FindOpen(confId);
            return open && Differences(open.item, notification).empty();
        },
        "an open appointment with the client's subject, location, times and body");
    const Json::Value marker = MarkerOf(open.item);
    Expect(marker["nbm_flag"] == true && marker["is_new_item"] == true, "the marker of the new appointment");
    Expect(static_cast<long>(Get(open.item, L"MeetingStatus")) == kMeeting, "the status of the new appointment");
    return confId;
}

Outcome JudgeDialog(Field& field, const workbench::DialogSeen& seen) {
    wchar_t owner[64] = L"";
    ::GetClassNameW(seen.owner, owner, 64);
    Expect(std::wstring(owner) == L"rctrl_renwnd32", "the dialog's owner is a window of Outlook");
    Expect(seen.ownerDisabled, "the owner waits for the dialog");
    DWORD process = 0;
    ::GetWindowThreadProcessId(seen.owner, &process);
    Expect(process == field.outlook, "the owner belongs to Outlook's process");
    return Pass("the dialog is there, above a window of Outlook that waits for it");
}

// --- Start ---

Outcome Start(Field& field) {
    field.AwaitPerson([&] { return field.FindOutlook(); },
                      "a running Outlook that answers (start neither of the two programs as administrator)");
    field.AwaitMachine([&] { return field.AddInConnected(); }, "the add-in among Outlook's connected COM add-ins");
    const IDispatchPtr language = Child(field.application, L"LanguageSettings");
    const long ui = Get(language, L"LanguageID", {_variant_t(kLanguageOfUi)});
    field.report.Version("Outlook", Text(field.application, L"Version"));
    field.report.Version("language", std::to_string(ui));
    const auto module = field.ModulePath();
    Expect(module.has_value(), "the module is loaded in Outlook's process");
    const auto version = field.machine.Version(*module);
    const auto& part = version.value.part;
    field.report.Version("add-in", version ? std::to_string(part[0]) + "." + std::to_string(part[1]) + "." +
                                                 std::to_string(part[2]) + "." + std::to_string(part[3])
                                           : "unknown");
    return Pass("Outlook " + Text(field.application, L"Version") + ", language " + std::to_string(ui) +
                ", the add-in is connected and its module loaded");
}

void ProbeModel(Field& field) {
    const IDispatchPtr explorer = ObjectOf(Call(field.application, L"ActiveExplorer"));
    const IDispatchPtr again = ObjectOf(Call(field.application, L"ActiveExplorer"));
    field.report.Answer(3, "main window: " + YesNo(SameObject(explorer, again)), kInModel);

    VARIANT index{};
    index.vt = VT_INT;
    index.intVal = 1;
    std::string accepted = "yes";
    try {
        Call(Child(Child(field.application, L"Session"), L"Folders"), L"Item", {index});
    } catch (const HostError& error) {
        accepted = std::string("no, ") + error.what();
    }
    field.report.Answer(5, accepted, kInModel);

    const IDispatchPtr inspectors = Child(field.application, L"Inspectors");
    if (static_cast<long>(Get(inspectors, L"Count")) == 0) {
        const _variant_t none = Call(field.application, L"ActiveInspector");
        field.report.Answer(9,
                            none.vt == VT_EMPTY      ? "VT_EMPTY"
                            : none.vt == VT_DISPATCH ? "VT_DISPATCH with null"
                                                     : "type " + std::to_string(none.vt),
                            "ActiveInspector without an open item");
    }

    IConnectionPointContainer* container = nullptr;
    if (SUCCEEDED(explorer->QueryInterface(IID_IConnectionPointContainer, reinterpret_cast<void**>(&container)))) {
        IConnectionPoint* point = nullptr;
        const HRESULT status = container->FindConnectionPoint(kExplorerEvents, &point);
        if (point) {
            point->Release();
        }
        container->Release();
        if (status == S_OK || status == CONNECT_E_NOCONNECTION) { // other failures are those of the way out
            field.report.Answer(10, "main window: " + YesNo(status == S_OK), "FindConnectionPoint");
        }
    }
}

void ProbeRegistry(Field& field) {
    const auto has = [&](const std::wstring& key) {
        return static_cast<bool>(field.machine.Values(doctor::Hive::Machine, key));
    };
    const bool clickToRun = has(L"SOFTWARE\\Microsoft\\Office\\ClickToRun\\Configuration");
    field.report.Version("Click-to-Run", YesNo(clickToRun));
    const std::string overlay = has(std::wstring(kOverlay) + kTypeLib) ? "in Office's own view" : "";
    field.report.Answer(8,
                        "Click-to-Run: " + YesNo(clickToRun) +
                            ", machine key there and add-in connected: " + YesNo(has(kAddInKey)) + ", type library: " +
                            (has(kTypeLib)     ? "in the machine's view"
                             : overlay.empty() ? "in no view"
                                               : overlay),
                        "the registry, read from outside Office");
}

void ProbeStartUp(Field& field) {
    const auto events = field.machine.Events(L"Application", L"Outlook", {45});
    for (const doctor::Event& event : events.value) { // the newest first
        std::size_t slow = 0;
        for (const auto& [progId, time] : BootTimes(event.text)) {
            slow += time > 1000 ? 1U : 0U; // ms
            if (progId == kProgId) {
                field.report.Answer(13, "this add-in started in " + std::to_string(time) + " ms", "event 45");
            }
        }
        field.report.Answer(13, std::to_string(slow) + " add-ins above 1000 ms", "event 45");
        return;
    }
}

/// The add-in makes its window's thread inside OnConnection and logs GetCustomUI, so their times tell the order.
void ProbeOrder(Field& field) {
    const HWND window = ::FindWindowExW(HWND_MESSAGE, nullptr, kAddinWindow, kAddinWindow);
    const UniqueHandle thread(
        ::OpenThread(THREAD_QUERY_LIMITED_INFORMATION, FALSE, ::GetWindowThreadProcessId(window, nullptr)));
    FILETIME made{};
    FILETIME ignored{};
    SYSTEMTIME utc{};
    SYSTEMTIME local{};
    if (!thread || !::GetThreadTimes(thread.Get(), &made, &ignored, &ignored, &ignored) ||
        !::FileTimeToSystemTime(&made, &utc) || !::SystemTimeToTzSpecificLocalTime(nullptr, &utc, &local)) {
        return;
    }
    char connected[32] = "";
    std::snprintf(connected, sizeof connected, "%04u-%02u-%02u %02u:%02u:%02u.%03u", local.wYear, local.wMonth,
                  local.wDay, local.wHour, local.wMinute, local.wSecond, local.wMilliseconds);
    for (const doctor::LogEntry& entry : field.Log()) {
        if (entry.source.ends_with("AddIn::GetCustomUI")) {
            field.report.Answer(12,
                                entry.time == connected  ? "too close together to tell"
                                : entry.time < connected ? "GetCustomUI first"
                                                         : "OnConnection first",
                                "the log's time of GetCustomUI and the age of the add-in's thread");
            return;
        }
    }
}

Outcome Probe(Field& field) {
    Need(field.application != nullptr);
    ProbeModel(field);
    ProbeRegistry(field);
    ProbeStartUp(field);
    ProbeOrder(field);
    return Pass("the answers are in the table of the open points");
}

Outcome Icons(Field& field) {
    const std::string answer = field.Ask();
    if (answer != "1" && answer != "2" && answer != "3") {
        return {Verdict::NotObserved, "no answer"};
    }
    field.report.Answer(1,
                        answer == "1"   ? "yes, the edges are clean"
                        : answer == "2" ? "no, the edges are dark: straight colours are expected"
                                        : "unclear, the edges are bright",
                        "the person");
    return Pass("the person has answered " + answer);
}

// --- A client that is not there ---

constexpr wchar_t kLogin[] = L"Log in to the client";
constexpr wchar_t kLoginChinese[] = L"请登录客户端";
constexpr wchar_t kUpdated[] = L"Email invitation updated";
constexpr wchar_t kUpdatedChinese[] = L"邮件邀请已更新";
constexpr wchar_t kSync[] = L"Synchronizing the update";
constexpr wchar_t kSyncChinese[] = L"同步更新";

Outcome Launch(Field& field) {
    Need(field.application != nullptr);
    std::optional<workbench::DialogSeen> dialog;
    field.AwaitPerson([&] { return (dialog = field.FindDialog(kLogin, kLoginChinese)).has_value(); },
                      "the add-in's dialog that asks to log in");
    field.AwaitMachine([&] { return meeting_client::ClientProcess::FindRunning() != 0; },
                       "the client, started by its URI");
    meeting_client::ClientSettings settings;
    settings.attachTo = meeting_client::ClientProcess::FindRunning();
    settings.transcript = field.transcript.wstring();
    settings.waitForWindow = false;
    field.client = std::make_unique<meeting_client::ClientProcess>(std::move(settings));
    field.AwaitMachine([&] { return field.client->Window() != nullptr; }, "the client's window after the log-in");
    Json::Value form(Json::objectValue);
    form["subject"] = field.subject;
    form["contents"] = "This appointment belongs to a test and will be deleted.";
    field.Order("answer 4 merge " + Compact(form));
    Expect(field.client->Messages().empty(), "the press that started the client sends no command");
    return JudgeDialog(field, *dialog);
}

// --- An appointment of the client ---

void ProbeEditor(Field& field, HWND window) {
    std::string chain;
    HWND inner = nullptr;
    ::EnumChildWindows(
        window,
        [](HWND child, LPARAM found) noexcept -> BOOL {
            wchar_t name[64] = L"";
            ::GetClassNameW(child, name, 64);
            const bool editor = ::lstrcmpW(name, L"_WwG") == 0;
            if (editor) {
                *reinterpret_cast<HWND*>(found) = child;
            }
            return !editor;
        },
        reinterpret_cast<LPARAM>(&inner));
    for (HWND step = inner; step && step != window; step = ::GetAncestor(step, GA_PARENT)) {
        wchar_t name[64] = L"";
        ::GetClassNameW(step, name, 64);
        chain = ToUtf8(name) + (chain.empty() ? "" : " > ") + chain;
    }
    field.report.Answer(2, inner ? chain : "the window has no _WwG", "the windows of the appointment");
}

Outcome Schedule(Field& field) {
    Need(field.client != nullptr);
    field.journal.OwnSubject(field.subject);
    field.AwaitCommand(kSchedule, field.options.personSeconds);
    field.confId = AwaitFilled(field);
    const OpenItem open = field.FindOpen(field.confId);
    field.report.Answer(3, "item: " + YesNo(SameObject(open.item, Child(open.inspector, L"CurrentItem"))), kInModel);
    for (const HWND window : OutlookWindows()) {
        wchar_t title[512] = L"";
        ::GetWindowTextW(window, title, 512);
        if (ToUtf8(title).find(field.subject) != std::string::npos) {
            ProbeEditor(field, window);
        }
    }
    const std::size_t ribbons = field.Logged("AddIn::GetCustomUI", "RibbonID");
    const std::size_t loads = field.Logged("AddIn::GetIDsOfNames", "rgszName: OnLoad\n");
    field.report.Answer(11, std::to_string(ribbons) + " ribbons, onLoad looked up " + std::to_string(loads) + " times",
                        kInLog);
    return Pass("command 4, notification 101, all fields, the marker and the status of the appointment");
}

Outcome Save(Field& field) {
    Need(!field.confId.empty());
    IDispatchPtr item = field.FindOpen(field.confId).item;
    Need(item != nullptr);
    const std::size_t closes = field.Logged("InspectorEventsSink::Invoke", "DispId: 61448");
    field.AwaitPerson([&] { return !(field.entryId = Text(item, L"EntryID")).empty(); }, "a saved appointment");
    field.journal.OwnItem(field.entryId);
    field.AwaitPerson([&] { return field.Logged("InspectorEventsSink::Invoke", "DispId: 61448") > closes; },
                      "the Close event of the appointment's window");
    field.report.Answer(10, "item window: yes, its events come", kInLog);
    field.report.Answer(6, "none seen: Write and Close come, after events that the add-in does not handle", kInLog);
    item = nullptr; // so that Outlook reads the store again
    const bool readable = field.Logged("AddIn::OnInspectorClose", "get cureent item fail") == 0;
    field.report.Answer(4, readable ? "yes" : "no, CurrentItem fails", kInLog);
    Expect(readable, "the appointment of a window that closes can be read");
    const Json::Value command = field.AwaitCommand(kModify, field.options.machineSeconds);
    Expect(command["confId"] == field.confId && command["confOutlookId"] == field.entryId,
           "the ids in the modify command");
    const IDispatchPtr stored = field.Stored();
    Expect(stored != nullptr, "the appointment is in the store");
    const IDispatchPtr form = Child(stored, L"FormDescription");
    const Json::Value marker = MarkerOf(stored);
    const bool kept = marker["conf_id"] == field.confId;
    field.report.Answer(
        7,
        "kept after save and close: " + YesNo(kept) +
            ", is_new_item, written at close and not saved: " + (marker["is_new_item"] == false ? "false" : "true") +
            ", one-off: " + YesNo(static_cast<bool>(Get(form, L"OneOff"))) +
            "; a restart of Outlook and the synchronisation through Exchange were not observed",
        "the item, read again by its id");
    Expect(kept, "the marker in the store");
    return Pass("the appointment is stored with its marker, command 6 has its ids");
}

Outcome Change(Field& field) {
    Need(field.client && !field.entryId.empty());
    const std::size_t misses = field.Logged("AddIn::GetAppointItemFromEntryId", "not found");
    Json::Value change(Json::objectValue);
    change["subject"] = field.subject + " moved";
    field.Order("change " + field.confId + " " + Compact(change));
    const Json::Value notification = LastNotification(field, 200);
    std::optional<workbench::DialogSeen> dialog;
    bool missed = false;
    field.AwaitMachine(
        [&] {
            missed = field.Logged("AddIn::GetAppointItemFromEntryId", "not found") > misses;
            return missed || (dialog = field.FindDialog(kUpdated, kUpdatedChinese)).has_value();
        },
        "the add-in's dialog that tells of the update");
    field.report.Answer(5, std::string("the add-in's own search ") + (missed ? "fails" : "succeeds"), kInLog);
    Expect(!missed, "the add-in finds the appointment by its id");
    Expect(Differences(field.Stored(), notification).empty(), "the fields after notification 200");
    return JudgeDialog(field, *dialog);
}

Outcome InWindow(Field& field) {
    Need(field.client != nullptr);
    const Json::Value command = field.AwaitCommand(kSchedule, field.options.personSeconds);
    field.draftId = AwaitFilled(field);
    Expect(!command["subject"].asString().empty() && command["startTime"].asInt64() != 0,
           "the command has subject and time of the appointment");
    return Pass("command 4 with the appointment's subject and times, and the same window is filled");
}

Outcome Discard(Field& field) {
    Need(!field.draftId.empty());
    const Json::Value command = field.AwaitCommand(kCancel, field.options.personSeconds);
    Expect(command["confId"] == field.draftId, "the id in the cancel command");
    return Pass("command 5 with the id of the appointment that was not saved");
}

// --- The client is gone again ---

Outcome Question(Field& field) {
    Need(field.client && !field.entryId.empty());
    Expect(field.client->Quit(), "the client ends when it is asked to");
    field.client.reset();
    field.commandsSeen = 0;
    std::optional<workbench::DialogSeen> dialog;
    field.AwaitPerson([&] { return (dialog = field.FindDialog(kSync, kSyncChinese)).has_value(); },
                      "the add-in's question whether to synchronise");
    return JudgeDialog(field, *dialog);
}

Outcome Later(Field& field) {
    Need(field.FindDialog(kSync, kSyncChinese).has_value());
    field.AwaitPerson([&] { return !field.FindDialog(kSync, kSyncChinese); }, "the end of the question");
    const OpenItem open = field.FindOpen(field.confId);
    Expect(static_cast<bool>(open), "the appointment's window is still open");
    field.AwaitMachine([&] { return static_cast<bool>(Get(open.item, L"Saved")); }, "a saved appointment");
    Expect(meeting_client::ClientProcess::FindRunning() == 0, "no client was started");
    return Pass("the appointment is saved, no client was started");
}

Outcome Cancel(Field& field) {
    Need(!field.entryId.empty() && field.FindOpen(field.confId));
    field.AwaitPerson([&] { return !field.FindOpen(field.confId); }, "the end of the appointment's window");
    Expect(field.Logged("ItemEventsSink::Invoke", "DispId: 64117") != 0, "the BeforeDelete event in the log");
    field.report.Answer(6, "BeforeDelete still comes at the end", kInLog);
    return Pass("the appointment is deleted; it may lie among the deleted items, where it can be removed by hand");
}

// --- The end ---

Outcome SwitchOff(Field& field) {
    Need(field.application != nullptr);
    DWORD number = 0;
    DWORD size = sizeof number;
    const bool chosen = ::RegGetValueW(HKEY_CURRENT_USER, kAddInKey, L"LoadBehavior", RRF_RT_REG_DWORD, nullptr,
                                       &number, &size) == ERROR_SUCCESS;
    // Unchanged now, but Outlook will write the person's choice there.
    field.journal.SetNumber(kAddInKey, L"LoadBehavior", chosen ? std::optional(number) : std::nullopt);
    field.AwaitPerson([&] { return !field.AddInConnected(); }, "an add-in that is not connected any more");
    Expect(field.ModulePath().has_value(), "the module stays loaded, because its threads stay");
    return Pass("Connect is false; the module is still loaded");
}

Outcome Exit(Field& field) {
    Need(field.outlook != 0);
    field.application = nullptr;
    const UniqueHandle process(::OpenProcess(SYNCHRONIZE, FALSE, field.outlook));
    field.AwaitPerson([&] { return !process || ::WaitForSingleObject(process.Get(), 0) == WAIT_OBJECT_0; },
                      "the end of Outlook's process");
    Expect(field.machine.WindowOwners(kAddinWindow).empty(), "no window of the add-in is left");
    return Pass("Outlook's process has ended and left no window of the add-in");
}

Outcome Again(Field& field) {
    Need(!field.application && field.outlook != 0);
    field.journal.SetNumber(kManaged, kProgId, 1); // always on
    field.AwaitPerson([&] { return field.FindOutlook(); }, "a running Outlook that answers");
    const Waited waited = field.console.Await([&] { return field.AddInConnected(); }, field.options.machineSeconds);
    field.report.Answer(14, waited == Waited::Held ? "yes, the add-in is on although it was switched off" : "no",
                        "a value of the user outside Policies, and Connect after a restart");
    return Pass("Outlook has started again");
}

} // namespace

const std::vector<Step>& AllSteps() {
    static const std::vector<Step> steps = {
        {"start",
         "Start Outlook, unless it runs, and wait until its main window is there. Close all item\n"
         "    windows. When Outlook asks whether a program may use it, allow it for ten minutes.",
         "8", &Start},
        {"probe", "Nothing to do: the test asks Outlook and the system.", "3 5 8 9 10 12 13", &Probe},
        {"icons",
         "Go to the calendar. Look closely at the icon of the button \"Schedule\" of NEMBRA CLOUD Meeting.\n"
         "    Are its edges clean (type 1), dark (2) or bright (3)? Then press Enter here.",
         "1", &Icons},
        {"launch",
         "Press \"Schedule\" on the calendar's Home tab. A dialog asks to log in: leave it open. (When Windows asks\n"
         "    whether to open meeting_client, agree.)",
         "", &Launch},
        {"schedule", "Close the dialog and press \"Schedule\" again. An appointment opens: leave it open.", "2 3 11",
         &Schedule},
        {"save", "Press Ctrl+S in the appointment's window, then close the window. Send nothing.", "4 6 7 10", &Save},
        {"change", "Nothing to press: the client changes the meeting. A dialog appears: leave it open.", "5", &Change},
        {"window",
         "Close the dialog. Make a new appointment with the subject \"field test\". Press \"Schedule\" in its window.",
         "", &InWindow},
        {"discard", "Close that window without saving.", "", &Discard},
        {"question",
         "Open the appointment \"NEMBRA field test\" in the calendar (now: in the next full hour), change its\n"
         "    location and press Ctrl+S. A question appears: leave it open.",
         "", &Question},
        {"later", "Press \"Later\". Leave the appointment's window open.", "", &Later},
        {"cancel", "Press \"Cancel\" of NEMBRA CLOUD Meeting in the appointment's window.", "6", &Cancel},
        {"off",
         "Switch the add-in off: File, Options, Add-ins, Manage COM Add-ins, Go, clear NembraMeetingOutlookAddin, OK.",
         "", &SwitchOff},
        {"exit", "Exit Outlook.", "", &Exit},
        {"again", "Start Outlook again. The test waits a little whether the add-in comes.", "14", &Again},
    };
    return steps;
}

} // namespace fieldtest
