#include "workbench/verify/scenes/Stage.h"

#include "resources/resource.h"
#include "support/Text.h"

#include <algorithm>

namespace verify {
namespace {

using workbench::CallbackResult;
using workbench::Ribbon;
using workbench::Surface;

// Preparations.

void NoWindows(Stage& stage) {
    stage.CloseInspectors();
}

/// Only an appointment is open.
template <bool Saved, const wchar_t* Comment>
void OpenOne(Stage& stage) {
    stage.CloseInspectors();
    stage.item = stage.Open(Saved, Comment);
}
constexpr wchar_t kPlain[] = L"";

void ShowOurs(Stage& stage) {
    OpenOne<true, kMarked>(stage);
    stage.Appointment();
}

/// Schedule was pressed in an appointment, and its answer is due.
void Scheduling(Stage& stage) {
    OpenOne<false, kPlain>(stage);
    stage.Appointment().Press(L"BookMeetingAppointment");
}

void Disconnect(Stage& stage) {
    if (stage.AddIn().Connected()) {
        stage.AddIn().Disconnect(workbench::kUserClosed);
    }
}

void Reconnect(Stage& stage) {
    if (!stage.AddIn().Connected()) {
        stage.AddIn().Connect();
    }
}

void EndSegments(Stage& stage) {
    client::EndSegments();
    stage.CloseInspectors();
}

void CloseExtraExplorers(Stage& stage) {
    while (stage.Host().Explorers().size() > 1) {
        const workbench::ExplorerPtr last = stage.Host().Explorers().front();
        last->Close();
    }
}

void OpenExtraExplorer(Stage& stage) {
    CloseExtraExplorers(stage);
    stage.explorer = stage.Host().OpenExplorer();
}

void OpenCancelled(Stage& stage) {
    OpenOne<true, kMarked>(stage);
    stage.item->fields.meetingStatus = workbench::kMeetingCanceled;
    stage.item->Save();
}

void OpenWithText(Stage& stage) {
    stage.CloseInspectors();
    stage.item = stage.Open(true, ToWide(stage.text).c_str());
}

// Steps: the usual ones, with what the plan names.

bool Came(Stage& stage) {
    return stage.Arrives([&stage] { return Stage::CommandCame(stage.Script().command); });
}

bool Press(Stage& stage) {
    return stage.Press(stage.Script().control) == S_OK && Came(stage);
}

/// Without the client: it is launched, and the user is asked to log in.
bool PressLaunches(Stage& stage) {
    return stage.Press(stage.Script().control) == S_OK && stage.Launched() && stage.DialogSeen();
}

bool PressDeletes(Stage& stage) {
    return stage.Press(stage.Script().control) == S_OK && stage.item->Deleted();
}

bool HasText(const CallbackResult& result) {
    return result.status == S_OK && result.value.vt == VT_BSTR && ::SysStringLen(result.value.bstrVal) != 0;
}

bool Labels(Ribbon& ribbon, std::initializer_list<const wchar_t*> ids) {
    bool all = true;
    for (const wchar_t* id : ids) {
        all = HasText(ribbon.AskLabel(id)) && all;
    }
    return all;
}

bool Notify(Stage& stage) {
    return stage.Notify(stage.text);
}

bool NotifyAsks(Stage& stage) {
    return Notify(stage) && stage.Arrives([&stage] { return stage.DialogSeen(); });
}

template <std::size_t Length>
bool NotifyScheduled(Stage& stage) {
    const std::string subject = Stage::Unique();
    const bool sent =
        stage.Notify(R"({"notify":101,"confId":"c-2","url":"https://meet.example.org/j/2","startTime":1709629200,)"
                     R"("endTime":1709631000,"subject":")" +
                     subject + R"(","contents":")" + std::string(Length, 'x') + "\"}");
    return sent && stage.Arrives([&] {
        const auto items = stage.Host().Appointments();
        return std::any_of(items.begin(), items.end(),
                           [&](const workbench::ItemPtr& item) { return ToUtf8(item->Subject()) == subject; });
    });
}

bool NotifyChanged(Stage& stage) {
    const std::string subject = Stage::Unique();
    return stage.Notify(R"({"notify":200,"subject":")" + subject + R"(","confOutlookId":")" +
                        ToUtf8(stage.item->EntryId()) + "\"}") &&
           stage.Arrives([&] { return ToUtf8(stage.item->Subject()) == subject && stage.DialogSeen(); });
}

bool ReadMarker(Stage& stage) {
    stage.item->fields.comment = ToWide(stage.text); // the text is cut behind the preparation
    const auto visible = stage.Appointment().AskVisible(L"CancelMeeetingAppointment");
    stage.Appointment().AskEnabled(L"CancelMeeetingAppointment");
    return SUCCEEDED(visible.status) && stage.item->Save();
}

bool Save(Stage& stage) {
    return stage.item->Save();
}

bool Send(Stage& stage) {
    const bool sent = stage.item->Send();
    Stage::Settle();
    return sent && Came(stage);
}

template <workbench::OlInspectorClose Mode>
bool Close(Stage& stage) {
    stage.item->Close(Mode);
    Stage::Settle();
    return (stage.Script().flags & kNoClient) != 0 ? stage.Launched() : Came(stage);
}

bool ConnectNow(Stage& stage) {
    const bool connected = stage.AddIn().Connect() == S_OK;
    Stage::Settle();
    return connected;
}

bool OpenInspector(Stage& stage, const wchar_t* comment) {
    return stage.Open(false, comment)->Events().SinkCount() == 1;
}

constexpr auto kSave = workbench::kCloseSave;
constexpr auto kDiscard = workbench::kCloseDiscard;
constexpr auto kOurs = &OpenOne<true, kMarked>;
constexpr auto kOursNew = &OpenOne<true, kMarkedNew>;
constexpr const char* kUpdated = R"({"notify":102,"code":7,"message":"m"})";
constexpr const char* kCut = R"({"notify":101,"subject":"cut","confId":"c-3","contents":"body \u4f1a",)"
                             R"("startTime":1709629200,"endTime":1709631000})";
constexpr unsigned kAbsentInAppointment = kNoClient | kInAppointment;

const Plan kPlans[] = {
    {"connect-first", &ConnectNow, &Disconnect, kUnconnected | kOncePerProcess},
    {"connect", &ConnectNow, &Disconnect, kUnconnected},
    {"disconnect", [](Stage& stage) { return stage.AddIn().Disconnect(workbench::kUserClosed) == S_OK; }, &Reconnect},
    {"exit", [](Stage& stage) { return stage.End().empty(); }},
    {"ribbon-explorer", [](Stage& stage) { return stage.AddIn().LoadRibbon(Surface::Explorer) == S_OK; }},
    {"ribbon-appointment", [](Stage& stage) { return stage.AddIn().LoadRibbon(Surface::Appointment) == S_OK; }},
    {"labels-explorer",
     [](Stage& stage) {
         return Labels(stage.Explorer(), {L"GroupNembraMeetingMail", L"StartMeetingMail", L"BookMeetingMail"});
     }},
    {"labels-appointment",
     [](Stage& stage) {
         return Labels(stage.Appointment(), {L"BookMeetingAppointment", L"CancelMeeetingAppointment"});
     },
     &ShowOurs},
    {"visible",
     [](Stage& stage) {
         return SUCCEEDED(stage.Explorer().AskVisible(L"BookMeetingMail").status) &&
                stage.Appointment().Visible(L"CancelMeeetingAppointment") &&
                !stage.Appointment().Visible(L"BookMeetingAppointment");
     },
     &ShowOurs},
    {"enabled", [](Stage& stage) { return stage.Appointment().Enabled(L"CancelMeeetingAppointment"); }, &ShowOurs},
    {"image",
     [](Stage& stage) {
         const CallbackResult result = stage.Explorer().LoadImage(L"401");
         return result.status == S_OK && result.value.vt == VT_DISPATCH && result.value.pdispVal != nullptr;
     }},
    {"press-start", &Press, nullptr, 0, L"StartMeetingMail", 2},
    {"press-start-audio", &Press, nullptr, 0, L"StartAudioMeetingMail", 3},
    {"press-book", &Press, nullptr, 0, L"BookMeetingMail", 4},
    {"press-book-new", &Press, &OpenOne<false, kPlain>, kInAppointment, L"BookMeetingAppointment", 4},
    {"press-book-saved", &Press, &OpenOne<true, kPlain>, kInAppointment, L"BookMeetingAppointment", 4},
    {"press-book-ours", &Press, kOurs, kInAppointment, L"BookMeetingAppointment", 4},
    {"press-modify", &Press, kOurs, kInAppointment, L"ModifyMeeetingAppointment", 6},
    {"press-cancel", &PressDeletes, kOurs, kInAppointment, L"CancelMeeetingAppointment"},
    {"press-start-no-client", &PressLaunches, nullptr, kNoClient, L"StartMeetingMail"},
    {"press-book-no-client", &PressLaunches, &OpenOne<false, kPlain>, kAbsentInAppointment, L"BookMeetingAppointment"},
    {"press-modify-no-client", &PressLaunches, kOurs, kAbsentInAppointment, L"ModifyMeeetingAppointment"},
    {"press-cancel-no-client", &PressDeletes, kOurs, kAbsentInAppointment, L"CancelMeeetingAppointment"},
    {"notify-101-new", &NotifyScheduled<1>, &NoWindows},
    {"notify-101-scheduling", &NotifyScheduled<1>, &Scheduling},
    {"notify-101-segments", &NotifyScheduled<1000>, &EndSegments},
    {.name = "notify-102", .step = &NotifyAsks, .prepare = &Scheduling, .text = kUpdated},
    {.name = "notify-103", .step = &Notify, .prepare = &NoWindows, .text = R"({"notify":103,"code":7,"message":"m"})"},
    {"notify-200", &NotifyChanged, kOurs},
    {.name = "notify-other", .step = &Notify, .prepare = &NoWindows, .text = R"({"notify":777})"},
    {.name = "json-notification", .step = &Notify, .prepare = &NoWindows, .flags = kCutText, .text = kCut},
    {.name = "json-marker",
     .step = &ReadMarker,
     .prepare = &OpenWithText,
     .flags = kCutText,
     .text = R"({"nbm_flag":true,"is_new_item":false,"conf_id":"c-\u4f1a"})"},
    {"event-new-explorer",
     [](Stage& stage) {
         const workbench::ExplorerPtr opened = stage.Host().OpenExplorer();
         return opened->Events().SinkCount() == 1;
     },
     &CloseExtraExplorers},
    {"event-close-explorer",
     [](Stage& stage) {
         stage.explorer->Close();
         return stage.explorer->Events().SinkCount() == 0;
     },
     &OpenExtraExplorer},
    {"event-new-inspector", [](Stage& stage) { return OpenInspector(stage, L""); }, &NoWindows, kSinksRest},
    {"event-new-inspector-ours", [](Stage& stage) { return OpenInspector(stage, kMarked); }, &NoWindows, kSinksRest},
    {"event-write", &Save, kOurs, kSinksRest},
    {.name = "event-write-sync-now",
     .step = [](Stage& stage) { return !stage.item->Save() && stage.Launched(); },
     .prepare = kOurs,
     .flags = kNoClient | kSinksRest,
     .dialogAnswer = IDC_SYNC_NOW},
    {.name = "event-write-sync-later",
     .step = &Save,
     .prepare = kOurs,
     .flags = kNoClient | kSinksRest,
     .dialogAnswer = IDC_SYNC_LATER},
    {"event-send", &Send, kOurs, kSinksRest, nullptr, 6},
    {"event-send-new", &Send, kOursNew, kSinksRest, nullptr, 6},
    {"event-send-cancelled", &Send, &OpenCancelled, kSinksRest, nullptr, 5},
    {"event-before-delete",
     [](Stage& stage) {
         const std::size_t invalidated = stage.Appointment().Invalidations().size();
         return stage.item->Delete() && stage.Appointment().Invalidations().size() > invalidated;
     },
     &ShowOurs, kSinksRest},
    {"event-close-saved", &Close<kSave>, kOursNew, kSinksRest, nullptr, 6},
    {"event-close-discarded", &Close<kDiscard>, &OpenOne<false, kMarkedNew>, kSinksRest, nullptr, 5},
    {"event-close-saved-no-client", &Close<kSave>, kOursNew, kNoClient | kSinksRest},
};

} // namespace

std::vector<Scene> OutlookScenes() {
    std::vector<Scene> scenes;
    for (const Plan& plan : kPlans) {
        scenes.push_back({plan.name, (plan.flags & kOncePerProcess) != 0, true,
                          [&plan](StagedModule& module) { return std::make_unique<Stage>(module, plan); }});
    }
    return scenes;
}

} // namespace verify
