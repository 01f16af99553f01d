#include "workbench/fieldtest/Field.h"
#include "workbench/fieldtest/Journal.h"

#include "workbench/client/Meetings.h"
#include "workbench/wire/Window.h"

#include "Outlook/AddIns/RegistryTable.h"
#include "Outlook/ObjectModel/ObjectModel.h"
#include "doctor/Finding.h"
#include "doctor/Scene.h"
#include "support/Text.h"
#include "support/UniqueResource.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <map>

_COM_SMARTPTR_TYPEDEF(IConnectionPoint, __uuidof(IConnectionPoint));
_COM_SMARTPTR_TYPEDEF(IConnectionPointContainer, __uuidof(IConnectionPointContainer));

namespace fieldtest {
namespace {

using meeting_client::Compact;
using meeting_client::ParseObject;

enum Command : int { kSchedule = 4, kCancel = 5, kModify = 6 };
constexpr char kComment[] = "kept";
constexpr wchar_t kManaged[] = L"Software\\Microsoft\\Office\\16.0\\Outlook\\Resiliency\\AddinList";
constexpr wchar_t kTypeLib[] = L"Software\\Classes\\TypeLib\\{712AA455-0C84-4E6F-B754-C84B08BB0681}\\1.0";

/// The client's transcript.
std::filesystem::path TranscriptFile() {
    return std::filesystem::temp_directory_path() / L"NembraFieldTest.txt";
}

void Expect(bool holds, const std::string& what) {
    if (!holds) {
        throw StepEnd{{Verdict::Fail, "not as it should be: " + what}};
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

/// Whether the appointment has the subject, location, body and times of the notification.
bool Shows(IDispatch* item, const Json::Value& notification) {
    constexpr double kEpoch = 25569; // 1970-01-01 in days
    constexpr double kDay = 86400;   // seconds
    const auto sameTime = [&](const wchar_t* member, const char* key) {
        const double seconds = (static_cast<double>(Get(item, member)) - kEpoch) * kDay;
        return std::abs(seconds - static_cast<double>(notification[key].asInt64())) <= 1;
    };
    // Outlook may end the body with a line of its own.
    return Text(item, L"Subject") == notification["subject"].asString() &&
           Text(item, L"Location") == notification["url"].asString() &&
           Text(item, L"Body").starts_with(notification["contents"].asString()) && sameTime(L"StartUTC", "startTime") &&
           sameTime(L"EndUTC", "endTime");
}

void Order(Field& field, const std::string& order) {
    const meeting_client::OrderResult result = field.client->Order(order);
    Expect(result.done, "the client carries out an order; it says: " + result.reason);
}

/// The next command. @throws StepEnd when none comes or when it is another one.
Json::Value AwaitCommand(Field& field, int number, unsigned seconds) {
    std::vector<std::string> messages;
    const std::string name = "command " + std::to_string(number) + " at the client";
    field.Await([&] { return (messages = field.client->Messages()).size() > field.commandsSeen; }, name, seconds);
    const Json::Value command = ParseObject(messages[field.commandsSeen++]).value_or(Json::objectValue);
    Expect(command["cmd"] == number && meeting_client::CommandFaults(command).empty(), name);
    return command;
}

/// The next notification of that type that the client sends.
Json::Value LastNotification(Field& field, int type) {
    Json::Value last;
    const auto came = [&] {
        const auto sent = field.client->Messages("out");
        last = ParseObject(sent.size() > field.notificationsSeen ? sent.back() : "").value_or(Json::objectValue);
        return last["notify"] == type;
    };
    field.AwaitMachine(came, "notification " + std::to_string(type) + " of the client");
    field.notificationsSeen = field.client->Messages("out").size();
    return last;
}

/// Waits until the answer to a schedule command has filled an appointment. @return its conference id.
std::string AwaitFilled(Field& field) {
    const Json::Value notification = LastNotification(field, 101);
    const std::string confId = notification["confId"].asString();
    OpenItem open;
    field.AwaitMachine([&] { return (open = field.FindOpen(confId)) && Shows(open.item, notification); },
                       "an open appointment with the client's subject, location, times and body");
    Expect(open.marker["nbm_flag"] == true && open.marker["is_new_item"] == true, "the marker of the new appointment");
    Expect(static_cast<long>(Get(open.item, L"MeetingStatus")) == Outlook::olMeeting,
           "the status of the new appointment");
    return confId;
}

std::string ClassOf(HWND window) {
    wchar_t name[64] = L"";
    ::GetClassNameW(window, name, 64);
    return ToUtf8(name);
}

std::string JudgeDialog(const Field& field) {
    const HWND owner = field.dialog.owner;
    Expect(ClassOf(owner) == kOutlookWindow && wire::ProcessOf(owner) == field.outlook,
           "the dialog's owner is a window of Outlook");
    Expect(field.dialog.ownerDisabled, "the owner waits for the dialog");
    return "the dialog is there, above a window of Outlook that waits for it";
}

// --- Start ---

std::wstring LoadedModule(const Field& field) { // empty when it is not loaded
    return doctor::FindLoadedModule({field.machine.ProcessOf(field.outlook)});
}

std::string Start(Field& field) {
    field.AwaitPerson([&] { return field.FindOutlook(); },
                      "a running Outlook that answers (start neither of the two programs as administrator)");
    field.AwaitMachine([&] { return field.AddInConnected(); }, "the add-in among Outlook's connected COM add-ins");
    const std::string version = Text(field.application, L"Version");
    const long language =
        Get(Child(field.application, L"LanguageSettings"), L"LanguageID", {_variant_t(long{Outlook::msoLanguageIDUI})});
    field.report.versions.emplace_back("Outlook", version);
    field.report.versions.emplace_back("language", std::to_string(language));
    const std::wstring module = LoadedModule(field);
    Expect(!module.empty(), "the module is loaded in Outlook's process");
    const auto moduleVersion = field.machine.Version(module);
    field.report.versions.emplace_back("add-in",
                                       moduleVersion ? ToUtf8(doctor::VersionText(moduleVersion.value)) : "unknown");
    return fmt::format("Outlook {}, language {}, the add-in is connected and its module loaded", version, language);
}

void ProbeModel(Field& field) {
    const IDispatchPtr explorer = ObjectOf(Call(field.application, L"ActiveExplorer"));
    const IDispatchPtr again = ObjectOf(Call(field.application, L"ActiveExplorer"));
    field.report.Answer(3, "main window: " + YesNo(SameObject(explorer, again)));

    VARIANT index{};
    index.vt = VT_INT;
    index.intVal = 1;
    std::string accepted = "yes";
    try {
        Call(Child(Child(field.application, L"Session"), L"Folders"), L"Item", {index});
    } catch (const HostError& error) {
        accepted = std::string("no, ") + error.what();
    }
    field.report.Answer(5, accepted);

    const IDispatchPtr inspectors = Child(field.application, L"Inspectors");
    if (static_cast<long>(Get(inspectors, L"Count")) == 0) {
        const _variant_t none = Call(field.application, L"ActiveInspector");
        field.report.Answer(9, none.vt == VT_EMPTY      ? "VT_EMPTY"
                               : none.vt == VT_DISPATCH ? "VT_DISPATCH with null"
                                                        : "type " + std::to_string(none.vt));
    }

    IConnectionPointContainerPtr container;
    if (SUCCEEDED(explorer->QueryInterface(&container))) {
        IConnectionPointPtr point;
        const HRESULT status = container->FindConnectionPoint(__uuidof(Outlook::ExplorerEvents), &point);
        if (status == S_OK || status == CONNECT_E_NOCONNECTION) { // other failures are those of the way out
            field.report.Answer(10, "main window: " + YesNo(status == S_OK));
        }
    }
}

void ProbeRegistry(Field& field) {
    const auto has = [&](const std::wstring& key) {
        return static_cast<bool>(field.machine.Values(doctor::Hive::Machine, key));
    };
    const bool clickToRun = has(L"SOFTWARE\\Microsoft\\Office\\ClickToRun\\Configuration");
    field.report.versions.emplace_back("Click-to-Run", YesNo(clickToRun));
    const char* library = has(kTypeLib) ? "in the machine's view"
                          : has(std::wstring(doctor::kStreamedKey) + (kTypeLib + std::size("Software")))
                              ? "in Office's own view"
                              : "in no view";
    field.report.Answer(8, fmt::format("Click-to-Run: {}, machine key there and add-in connected: {}, type library: {}",
                                       YesNo(clickToRun), YesNo(has(registry::kAddInKey)), library));
}

void ProbeStartUp(Field& field) {
    unsigned long slowest = 0; // ms, of the add-ins that Outlook has kept
    for (const doctor::Event& event : field.machine.Events(L"Application", L"Outlook", {45}).value) {
        for (const auto& [progId, time] : doctor::BootTimes(event.text)) {
            slowest = std::max(slowest, time);
            if (progId == registry::kProgId) {
                field.report.Answer(13, fmt::format("this add-in started in {} ms", time));
            }
        }
    }
    const std::size_t disabled = field.machine.Events(L"Application", L"Outlook", {59})->size();
    if (slowest != 0 || disabled != 0) {
        field.report.Answer(13,
                            fmt::format("slowest start in 30 days: {} ms; add-ins disabled: {}", slowest, disabled));
    }
}

/// The add-in makes its window's thread inside OnConnection and logs GetCustomUI, so their times tell the order.
void ProbeOrder(Field& field) {
    const HWND window = ::FindWindowExW(HWND_MESSAGE, nullptr, wire::kAddinWindow, wire::kAddinWindow);
    const UniqueHandle thread(
        ::OpenThread(THREAD_QUERY_LIMITED_INFORMATION, FALSE, ::GetWindowThreadProcessId(window, nullptr)));
    FILETIME made{};
    FILETIME ignored{};
    if (!thread || !::GetThreadTimes(thread.Get(), &made, &ignored, &ignored, &ignored)) {
        return;
    }
    const std::string connected = doctor::LocalTime(made);
    for (const doctor::LogEntry& entry : field.Log()) {
        if (entry.source.ends_with("AddIn::GetCustomUI")) {
            field.report.Answer(12, entry.time == connected  ? "too close together to tell"
                                    : entry.time < connected ? "GetCustomUI first"
                                                             : "OnConnection first");
            return;
        }
    }
}

std::string Probe(Field& field) {
    Need(field.application != nullptr);
    ProbeModel(field);
    ProbeRegistry(field);
    ProbeStartUp(field);
    ProbeOrder(field);
    return "the answers are in the table of the open points";
}

std::string Icons(Field& field) {
    static const std::map<std::string, const char*> answers = {
        {"1", "yes, the edges are clean"},
        {"2", "no, the edges are dark: straight colours are expected"},
        {"3", "unclear, the edges are bright"}};
    field.Wait([] { return false; }, field.personSeconds);
    const auto answer = answers.find(field.entered.value_or(""));
    if (answer == answers.end()) {
        throw StepEnd{{Verdict::NotObserved, "no answer"}};
    }
    field.report.Answer(1, answer->second);
    return "the person has answered " + answer->first;
}

// --- A client that is not there ---

using DialogText = PerLanguage<const wchar_t*>;
constexpr DialogText kLogin = {L"请登录客户端", L"Log in to the client"};
constexpr DialogText kUpdated = {L"邮件邀请已更新", L"Email invitation updated"};
constexpr DialogText kSync = {L"同步更新", L"Synchronizing the update"};

std::string Launch(Field& field) {
    Need(field.application != nullptr);
    field.AwaitPerson([&] { return field.FindDialog(kLogin); }, "the add-in's dialog that asks to log in");
    field.AwaitMachine([&] { return meeting_client::ClientProcess::FindRunning() != 0; },
                       "the client, started by its URI");
    meeting_client::ClientSettings settings;
    settings.attachTo = meeting_client::ClientProcess::FindRunning();
    settings.transcript = TranscriptFile().wstring();
    settings.waitForWindow = false;
    field.client = std::make_unique<meeting_client::ClientProcess>(std::move(settings));
    field.AwaitMachine([&] { return field.client->Window() != nullptr; }, "the client's window after the log-in");
    Json::Value form(Json::objectValue);
    form["subject"] = field.subject;
    form["contents"] = "This appointment belongs to a test and will be deleted.";
    Order(field, "answer 4 merge " + Compact(form));
    Expect(field.client->Messages().empty(), "the press that started the client sends no command");
    return JudgeDialog(field);
}

// --- An appointment of the client ---

/// The classes of the windows from this one down to the body editor; empty without an editor.
std::string WayToEditor(HWND window) {
    const std::string way = ClassOf(window);
    if (way == "_WwG") {
        return way;
    }
    for (HWND child = nullptr; (child = ::FindWindowExW(window, child, nullptr, nullptr)) != nullptr;) {
        if (const std::string below = WayToEditor(child); !below.empty()) {
            return way + " > " + below;
        }
    }
    return "";
}

std::string Schedule(Field& field) {
    Need(field.client != nullptr);
    journal::OwnSubject(field.subject);
    AwaitCommand(field, kSchedule, field.personSeconds);
    field.confId = AwaitFilled(field);
    const OpenItem open = field.FindOpen(field.confId);
    field.report.Answer(3, "item: " + YesNo(SameObject(open.item, Child(open.inspector, L"CurrentItem"))));
    for (const HWND window : OutlookWindows()) {
        wchar_t title[512] = L"";
        ::GetWindowTextW(window, title, 512);
        if (ToUtf8(title).find(field.subject) != std::string::npos) {
            const std::string way = WayToEditor(window);
            field.report.Answer(2, way.empty() ? "the window has no _WwG" : way);
        }
    }
    const std::size_t ribbons = field.Logged("AddIn::GetCustomUI", "RibbonID");
    const std::size_t loads = field.Logged("AddIn::GetIDsOfNames", "rgszName: OnLoad\n");
    field.report.Answer(11, fmt::format("{} ribbons, onLoad looked up {} times", ribbons, loads));
    return "command 4, notification 101, all fields, the marker and the status of the appointment";
}

std::string Save(Field& field) {
    Need(!field.confId.empty());
    IDispatchPtr item = field.FindOpen(field.confId).item;
    Need(item != nullptr);
    const std::size_t closes = field.Logged("InspectorEventsSink::Invoke", "DispId: 61448");
    field.AwaitPerson([&] { return !(field.entryId = Text(item, L"EntryID")).empty(); }, "a saved appointment");
    journal::OwnItem(field.entryId);
    field.AwaitPerson([&] { return field.Logged("InspectorEventsSink::Invoke", "DispId: 61448") > closes; },
                      "the Close event of the appointment's window");
    field.report.Answer(10, "item window: yes, its events come");
    field.report.Answer(6, "none seen: Write and Close come, after events that the add-in does not handle");
    item = nullptr; // so that Outlook reads the store again
    const bool readable = field.Logged("AddIn::OnInspectorClose", "get cureent item fail") == 0;
    field.report.Answer(4, readable ? "yes" : "no, CurrentItem fails");
    Expect(readable, "the appointment of a window that closes can be read");
    const Json::Value command = AwaitCommand(field, kModify, field.machineSeconds);
    Expect(command["confId"] == field.confId && command["confOutlookId"] == field.entryId,
           "the ids in the modify command");
    const IDispatchPtr stored = StoredItem(field.application, field.entryId);
    Expect(stored != nullptr, "the appointment is in the store");
    const Json::Value marker = MarkerOf(stored);
    const bool kept = marker["conf_id"] == field.confId;
    const bool oneOff = Get(Child(stored, L"FormDescription"), L"OneOff");
    field.report.Answer(
        7, fmt::format("kept after save and close: {}, is_new_item, written at close and not saved: {}, one-off: {}",
                       YesNo(kept), marker["is_new_item"] == false ? "false" : "true", YesNo(oneOff)));
    Expect(kept, "the marker in the store");
    return "the appointment is stored with its marker, command 6 has its ids";
}

std::string Change(Field& field) {
    Need(field.client && !field.entryId.empty());
    const std::size_t misses = field.Logged("AddIn::GetAppointItemFromEntryId", "not found");
    Json::Value change(Json::objectValue);
    change["subject"] = field.subject + " moved";
    Order(field, "change " + field.confId + " " + Compact(change));
    const Json::Value notification = LastNotification(field, 200);
    const auto missed = [&] { return field.Logged("AddIn::GetAppointItemFromEntryId", "not found") > misses; };
    field.AwaitMachine([&] { return missed() || field.FindDialog(kUpdated); },
                       "the add-in's dialog that tells of the update");
    field.report.Answer(5, std::string("the add-in's own search ") + (missed() ? "fails" : "succeeds"));
    Expect(!missed(), "the add-in finds the appointment by its id");
    Expect(Shows(StoredItem(field.application, field.entryId), notification), "the fields after notification 200");
    return JudgeDialog(field);
}

std::string InWindow(Field& field) {
    Need(field.client != nullptr);
    const Json::Value command = AwaitCommand(field, kSchedule, field.personSeconds);
    field.draftId = AwaitFilled(field);
    Expect(!command["subject"].asString().empty() && command["startTime"].asInt64() != 0,
           "the command has subject and time of the appointment");
    return "command 4 with the appointment's subject and times, and the same window is filled";
}

std::string Discard(Field& field) {
    Need(!field.draftId.empty());
    const Json::Value command = AwaitCommand(field, kCancel, field.personSeconds);
    Expect(command["confId"] == field.draftId, "the id in the cancel command");
    return "command 5 with the id of the appointment that was not saved";
}

// --- The client is gone again ---

std::string Question(Field& field) {
    Need(field.client && !field.entryId.empty());
    Expect(field.client->Quit(), "the client ends when it is asked to");
    field.client.reset();
    field.commandsSeen = 0;
    field.AwaitPerson([&] { return field.FindDialog(kSync); }, "the add-in's question whether to synchronise");
    return JudgeDialog(field);
}

std::string Later(Field& field) {
    Need(field.FindDialog(kSync));
    field.AwaitPerson([&] { return !field.FindDialog(kSync); }, "the end of the question");
    const OpenItem open = field.FindOpen(field.confId);
    Expect(static_cast<bool>(open), "the appointment's window is still open");
    field.AwaitMachine([&] { return static_cast<bool>(Get(open.item, L"Saved")); }, "a saved appointment");
    Expect(meeting_client::ClientProcess::FindRunning() == 0, "no client was started");
    return "the appointment is saved, no client was started";
}

std::string Cancel(Field& field) {
    Need(!field.entryId.empty() && field.FindOpen(field.confId));
    field.AwaitPerson([&] { return !field.FindOpen(field.confId); }, "the end of the appointment's window");
    Expect(field.Logged("ItemEventsSink::Invoke", "DispId: 64117") != 0, "the BeforeDelete event in the log");
    field.report.Answer(6, "BeforeDelete still comes at the end");
    return "the appointment is deleted; it may lie among the deleted items, where it can be removed by hand";
}

// --- The end ---

std::string SwitchOff(Field& field) {
    Need(field.application != nullptr);
    journal::Keep(registry::kAddInKey); // Outlook will write the person's choice there
    field.AwaitPerson([&] { return !field.AddInConnected(); }, "an add-in that is not connected any more");
    Expect(!LoadedModule(field).empty(), "the module stays loaded, because its threads stay");
    // An appointment that has a comment as the add-in's ones have, for the look after a restart.
    const IDispatchPtr probe =
        ObjectOf(Call(field.application, L"CreateItem", {_variant_t(long{Outlook::olAppointmentItem})}));
    Put(probe, L"Subject", _variant_t(ToWide(field.subject).c_str()));
    PutComment(probe, kComment);
    Call(probe, L"Save");
    field.probeId = Text(probe, L"EntryID");
    journal::OwnItem(field.probeId);
    return "Connect is false; the module is still loaded";
}

std::string Exit(Field& field) {
    Need(field.outlook != 0);
    field.application = nullptr;
    const UniqueHandle process(::OpenProcess(SYNCHRONIZE, FALSE, field.outlook));
    field.AwaitPerson([&] { return !process || ::WaitForSingleObject(process.Get(), 0) == WAIT_OBJECT_0; },
                      "the end of Outlook's process");
    Expect(field.machine.WindowOwners(wire::kAddinWindow).empty(), "no window of the add-in is left");
    return "Outlook's process has ended and left no window of the add-in";
}

std::string Again(Field& field) {
    Need(!field.application && field.outlook != 0);
    journal::Keep(kManaged);
    doctor::Apply({doctor::Repair::Kind::SetNumber, kManaged, registry::kProgId, 1}); // always on
    field.AwaitPerson([&] { return field.FindOutlook(); }, "a running Outlook that answers");
    const bool connected = field.Wait([&] { return field.AddInConnected(); }, field.machineSeconds);
    field.report.Answer(14, connected ? "yes, the add-in is on although it was switched off" : "no");
    if (!field.probeId.empty()) {
        const IDispatchPtr probe = StoredItem(field.application, field.probeId);
        field.report.Answer(7, std::string("kept over a restart of Outlook: ") +
                                   (!probe ? "no item" : YesNo(Comment(probe) == kComment)));
    }
    return "Outlook has started again";
}

struct Step {
    const char* name;
    const char* told;                 ///< to the person
    const char* points;               ///< numbers of the open points that it may answer
    std::string (*run)(Field& field); ///< @return what was seen. @throws StepEnd, or an error that fails the step.
};
constexpr Step kSteps[] = {
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
     "Close the dialog. Make a new appointment with the subject \"field test\". Press \"Schedule\" in its window.", "",
     &InWindow},
    {"discard", "Close that window without saving.", "", &Discard},
    {"question",
     "Open the appointment \"NEMBRA field test\" in the calendar (now: in the next full hour), change its\n"
     "    location and press Ctrl+S. A question appears: leave it open.",
     "", &Question},
    {"later", "Press \"Later\". Leave the appointment's window open.", "", &Later},
    {"cancel", "Press \"Cancel\" of NEMBRA CLOUD Meeting in the appointment's window.", "6", &Cancel},
    {"off",
     "Switch the add-in off: File, Options, Add-ins, Manage COM Add-ins, Go, clear NembraMeetingOutlookAddin, OK.", "",
     &SwitchOff},
    {"exit", "Exit Outlook.", "", &Exit},
    {"again", "Start Outlook again. The test waits a little whether the add-in comes.", "7 14", &Again},
};

Outcome RunStep(const Step& step, Field& field) {
    try {
        return {Verdict::Pass, step.run(field)};
    } catch (const StepEnd& end) {
        return end.outcome;
    } catch (const Stopped&) {
        throw;
    } catch (const std::exception& error) {
        return {Verdict::Fail, error.what()};
    } catch (const _com_error& error) {
        return {Verdict::Fail,
                fmt::format("Outlook answered without the object that was asked for, status {}", error.Error())};
    }
}

} // namespace

void RunSteps(Field& field) {
    journal::OwnFile(TranscriptFile());
    journal::InstallScheme({L"--transcript", TranscriptFile().wstring(), L"--login-after", L"1500", L"--max-seconds",
                            L"3600", L"--parent", std::to_wstring(::GetCurrentProcessId())});
    for (const Step& step : kSteps) {
        field.prompt = fmt::format("\nStep {} of {} [{}]{}{}\n    {}", &step - kSteps + 1, std::size(kSteps), step.name,
                                   *step.points ? " open points " : "", step.points, step.told);
        const Outcome outcome = RunStep(step, field);
        field.Tell();
        Say(std::string("    ") + NameOf(outcome.verdict) + ": " + outcome.text);
        field.report.steps.emplace_back(step.name, outcome);
    }
}

} // namespace fieldtest
