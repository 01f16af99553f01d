#include "workbench/verify/scenes/Stage.h"

#include "resources/resource.h"
#include "support/Text.h"

#include <fmt/format.h>

namespace verify {
namespace {

using workbench::CallbackResult;
using workbench::Ribbon;
using workbench::Surface;

constexpr wchar_t kPlain[] = L"";
constexpr wchar_t kMarked[] = LR"({"nbm_flag":true,"is_new_item":false,"conf_id":"c-1"})";
constexpr wchar_t kMarkedNew[] = LR"({"nbm_flag":true,"is_new_item":true,"conf_id":"c-1"})";

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
    Stage::EndSegments();
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

// Steps.

bool ConnectNow(Stage& stage) {
    return stage.AddIn().Connect() == S_OK;
}

template <Surface Where>
bool LoadRibbon(Stage& stage) {
    return stage.AddIn().LoadRibbon(Where) == S_OK;
}

bool Labels(Ribbon& ribbon, std::initializer_list<const wchar_t*> ids) {
    bool all = true;
    for (const wchar_t* id : ids) {
        const CallbackResult result = ribbon.AskLabel(id);
        all = result.status == S_OK && result.value.vt == VT_BSTR && ::SysStringLen(result.value.bstrVal) != 0 && all;
    }
    return all;
}

bool Press(Stage& stage) {
    return stage.Press(stage.Script().control);
}

bool PressDeletes(Stage& stage) {
    return Press(stage) && stage.item->Deleted();
}

bool Notify(Stage& stage) {
    return Stage::Notify(stage.text);
}

template <std::size_t Length>
bool NotifyScheduled(Stage& stage) {
    return Stage::Notify(
        fmt::format(R"({{"notify":101,"confId":"c-2","url":"https://meet.example.org/j/2",)"
                    R"("startTime":1709629200,"endTime":1709631000,"subject":"{}","contents":"{:x<{}}"}})",
                    stage.subject, "", Length));
}

bool NotifyChanged(Stage& stage) {
    return Stage::Notify(fmt::format(R"({{"notify":200,"subject":"{}","confOutlookId":"{}"}})", stage.subject,
                                     ToUtf8(stage.item->EntryId())));
}

bool ReadMarker(Stage& stage) {
    stage.item->fields.comment = ToWide(stage.text); // the text is cut behind the preparation
    const auto visible = stage.Appointment().AskVisible(L"CancelMeeetingAppointment");
    stage.Appointment().AskEnabled(L"CancelMeeetingAppointment");
    return SUCCEEDED(visible.status) && stage.item->Save();
}

template <const wchar_t* Comment>
bool OpenInspector(Stage& stage) {
    return stage.Open(false, Comment)->Events().SinkCount() == 1;
}

bool Save(Stage& stage) {
    return stage.item->Save();
}

bool Send(Stage& stage) {
    return stage.item->Send();
}

template <workbench::OlInspectorClose Mode>
bool Close(Stage& stage) {
    stage.item->Close(Mode);
    return true;
}

constexpr auto kSave = workbench::kCloseSave;
constexpr auto kDiscard = workbench::kCloseDiscard;
constexpr auto kNew = &OpenOne<false, kPlain>;
constexpr auto kOurs = &OpenOne<true, kMarked>;
constexpr auto kOursNew = &OpenOne<true, kMarkedNew>;
constexpr const wchar_t* kBook = L"BookMeetingAppointment";
constexpr const wchar_t* kModify = L"ModifyMeeetingAppointment";
constexpr const wchar_t* kCancel = L"CancelMeeetingAppointment";
constexpr unsigned kAbsent = kNoClient | kLaunches | kAsks; // it is launched, and the user is asked to log in
constexpr const char* kUpdated = R"({"notify":102,"code":7,"message":"m"})";
constexpr const char* kRefused = R"({"notify":103,"code":7,"message":"m"})";
constexpr const char* kCut = R"({"notify":101,"subject":"cut","confId":"c-3","contents":"body \u4f1a",)"
                             R"("startTime":1709629200,"endTime":1709631000})";
constexpr const char* kCutMarker = R"({"nbm_flag":true,"is_new_item":false,"conf_id":"c-\u4f1a"})";

const Plan kPlans[] = {
    {"connect-first", &ConnectNow, &Disconnect, kUnconnected | kOncePerProcess},
    {"connect", &ConnectNow, &Disconnect, kUnconnected},
    {"disconnect", [](Stage& stage) { return stage.AddIn().Disconnect(workbench::kUserClosed) == S_OK; }, &Reconnect},
    {"exit", [](Stage& stage) { return stage.End().empty(); }},
    {"ribbon-explorer", &LoadRibbon<Surface::Explorer>},
    {"ribbon-appointment", &LoadRibbon<Surface::Appointment>},
    {"labels-explorer",
     [](Stage& stage) {
         return Labels(stage.Explorer(), {L"GroupNembraMeetingMail", L"StartMeetingMail", L"BookMeetingMail"});
     }},
    {"labels-appointment",
     [](Stage& stage) {
         return Labels(stage.Appointment(), {kBook, kCancel});
     },
     &ShowOurs},
    {"visible",
     [](Stage& stage) {
         return SUCCEEDED(stage.Explorer().AskVisible(L"BookMeetingMail").status) &&
                stage.Appointment().Visible(kCancel) && !stage.Appointment().Visible(kBook);
     },
     &ShowOurs},
    {"enabled", [](Stage& stage) { return stage.Appointment().Enabled(kCancel); }, &ShowOurs},
    {"image",
     [](Stage& stage) {
         const CallbackResult result = stage.Explorer().LoadImage(L"401");
         return result.status == S_OK && result.value.vt == VT_DISPATCH && result.value.pdispVal != nullptr;
     }},
    {"press-start", &Press, nullptr, 0, L"StartMeetingMail", 2},
    {"press-start-audio", &Press, nullptr, 0, L"StartAudioMeetingMail", 3},
    {"press-book", &Press, nullptr, 0, L"BookMeetingMail", 4},
    {"press-book-new", &Press, kNew, kInAppointment, kBook, 4},
    {"press-book-saved", &Press, &OpenOne<true, kPlain>, kInAppointment, kBook, 4},
    {"press-book-ours", &Press, kOurs, kInAppointment, kBook, 4},
    {"press-modify", &Press, kOurs, kInAppointment, kModify, 6},
    {"press-cancel", &PressDeletes, kOurs, kInAppointment, kCancel},
    {"press-start-no-client", &Press, nullptr, kAbsent, L"StartMeetingMail"},
    {"press-book-no-client", &Press, kNew, kAbsent | kInAppointment, kBook},
    {"press-modify-no-client", &Press, kOurs, kAbsent | kInAppointment, kModify},
    {"press-cancel-no-client", &PressDeletes, kOurs, kNoClient | kInAppointment, kCancel},
    {"notify-101-new", &NotifyScheduled<1>, &NoWindows, kNamesItem},
    {"notify-101-scheduling", &NotifyScheduled<1>, &Scheduling, kNamesItem},
    {"notify-101-segments", &NotifyScheduled<1000>, &EndSegments, kNamesItem},
    {"notify-102", &Notify, &Scheduling, kAsks, nullptr, -1, kUpdated},
    {"notify-103", &Notify, &NoWindows, 0, nullptr, -1, kRefused},
    {"notify-200", &NotifyChanged, kOurs, kNamesItem | kAsks},
    {"notify-other", &Notify, &NoWindows, 0, nullptr, -1, R"({"notify":777})"},
    {"json-notification", &Notify, &NoWindows, 0, nullptr, -1, kCut},
    {"json-marker", &ReadMarker, kOurs, 0, nullptr, -1, kCutMarker},
    {"event-new-explorer", [](Stage& stage) { return stage.Host().OpenExplorer()->Events().SinkCount() == 1; },
     &CloseExtraExplorers},
    {"event-close-explorer",
     [](Stage& stage) {
         stage.explorer->Close();
         return stage.explorer->Events().SinkCount() == 0;
     },
     &OpenExtraExplorer},
    {"event-new-inspector", &OpenInspector<kPlain>, &NoWindows, kSinksRest},
    {"event-new-inspector-ours", &OpenInspector<kMarked>, &NoWindows, kSinksRest},
    {"event-write", &Save, kOurs, kSinksRest},
    {"event-write-sync-now", [](Stage& stage) { return !stage.item->Save(); }, kOurs,
     kNoClient | kLaunches | kSinksRest, nullptr, -1, nullptr, IDC_SYNC_NOW},
    {"event-write-sync-later", &Save, kOurs, kNoClient | kSinksRest, nullptr, -1, nullptr, IDC_SYNC_LATER},
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
    {"event-close-saved-no-client", &Close<kSave>, kOursNew, kNoClient | kLaunches | kSinksRest},
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
