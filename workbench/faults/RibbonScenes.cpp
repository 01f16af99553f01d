#include "workbench/faults/Hooks.h"
#include "workbench/faults/Scenes.h"
#include "workbench/faults/Session.h"

#include "workbench/host/Pump.h"

namespace faults {
namespace {

using workbench::CallbackResult;
using workbench::Ribbon;
using workbench::Surface;

bool HasText(const CallbackResult& result) {
    return result.status == S_OK && result.value.vt == VT_BSTR && ::SysStringLen(result.value.bstrVal) != 0;
}

bool Succeeds(const CallbackResult& result) {
    return SUCCEEDED(result.status);
}

bool Labels(Ribbon& ribbon, std::initializer_list<const wchar_t*> ids) {
    bool all = true;
    for (const wchar_t* id : ids) {
        all = HasText(ribbon.AskLabel(id)) && all;
    }
    return all;
}

bool Press(Session& session, Ribbon& ribbon, const wchar_t* id, int command) {
    const bool pressed = ribbon.Press(id) == S_OK;
    session.Settle();
    return pressed && session.CommandCame(command);
}

/// Without the client: it is launched, and the user is asked to log in.
bool PressLaunches(Session& session, Ribbon& ribbon, const wchar_t* id) {
    const bool pressed = ribbon.Press(id) == S_OK;
    session.Settle();
    return pressed && Launches() > session.before && session.DialogsSeen() > session.dialogsBefore;
}

template <bool Saved>
void OpenPlain(Session& session) {
    session.CloseInspectors();
    session.item = session.Open(Saved);
}

void Disconnect(Session& session) {
    if (session.AddIn().Connected()) {
        session.AddIn().Disconnect(workbench::kUserClosed);
    }
}

bool Connect(Session& session) {
    const bool connected = session.AddIn().Connect() == S_OK;
    session.Settle();
    return connected;
}

void Reconnect(Session& session) {
    if (!session.AddIn().Connected()) {
        session.AddIn().Connect();
    }
}

const NamedPlan kConnections[] = {
    {"connect", {.start = Session::Start::Loaded, .prepare = &Disconnect, .step = &Connect}},
    {"disconnect",
     {.prepare = &Reconnect,
      .step = [](Session& session) { return session.AddIn().Disconnect(workbench::kUserClosed) == S_OK; }}},
    {"exit", {.step = [](Session& session) { return session.End().empty(); }}},
};

const NamedPlan kCallbacks[] = {
    {"ribbon-explorer",
     {.step = [](Session& session) { return session.AddIn().LoadRibbon(Surface::Explorer) == S_OK; }}},
    {"ribbon-appointment",
     {.step = [](Session& session) { return session.AddIn().LoadRibbon(Surface::Appointment) == S_OK; }}},
    {"labels-explorer",
     {.prepare = [](Session& session) { session.Explorer(); },
      .step =
          [](Session& session) {
              return Labels(session.Explorer(), {L"GroupNembraMeetingMail", L"StartMeetingMail", L"BookMeetingMail"});
          }}},
    {"labels-appointment",
     {.prepare = &ShowOurs,
      .step =
          [](Session& session) {
              return Labels(session.Appointment(), {L"BookMeetingAppointment", L"CancelMeeetingAppointment"});
          }}},
    {"visible",
     {.prepare = &ShowOurs,
      .step =
          [](Session& session) {
              return Succeeds(session.Explorer().AskVisible(L"BookMeetingMail")) &&
                     session.Appointment().Visible(L"CancelMeeetingAppointment") &&
                     !session.Appointment().Visible(L"BookMeetingAppointment");
          }}},
    {"enabled",
     {.prepare = &ShowOurs,
      .step = [](Session& session) { return session.Appointment().Enabled(L"CancelMeeetingAppointment"); }}},
    {"image",
     {.prepare = [](Session& session) { session.Explorer(); },
      .step =
          [](Session& session) {
              const CallbackResult result = session.Explorer().LoadImage(L"401");
              return result.status == S_OK && result.value.vt == VT_DISPATCH && result.value.pdispVal != nullptr;
          }}},
};

const NamedPlan kPresses[] = {
    {"press-start",
     {.step = [](Session& session) { return Press(session, session.Explorer(), L"StartMeetingMail", 2); }}},
    {"press-start-audio",
     {.step = [](Session& session) { return Press(session, session.Explorer(), L"StartAudioMeetingMail", 3); }}},
    {"press-book",
     {.step = [](Session& session) { return Press(session, session.Explorer(), L"BookMeetingMail", 4); }}},
    {"press-book-new",
     {.prepare = &OpenPlain<false>,
      .step = [](Session& session) { return Press(session, session.Appointment(), L"BookMeetingAppointment", 4); }}},
    {"press-book-saved",
     {.prepare = &OpenPlain<true>,
      .step = [](Session& session) { return Press(session, session.Appointment(), L"BookMeetingAppointment", 4); }}},
    {"press-modify",
     {.prepare = &OpenOurs<true>,
      .step = [](Session& session) { return Press(session, session.Appointment(), L"ModifyMeeetingAppointment", 6); }}},
    {"press-cancel",
     {.prepare = &OpenOurs<true>,
      .step =
          [](Session& session) {
              const bool pressed = session.Appointment().Press(L"CancelMeeetingAppointment") == S_OK;
              session.Settle();
              return pressed && session.item->Deleted();
          }}},
    {"press-start-no-client",
     {.withClient = false,
      .step = [](Session& session) { return PressLaunches(session, session.Explorer(), L"StartMeetingMail"); }}},
    {"press-book-no-client",
     {.withClient = false,
      .prepare = &OpenPlain<false>,
      .step =
          [](Session& session) { return PressLaunches(session, session.Appointment(), L"BookMeetingAppointment"); }}},
    {"press-modify-no-client",
     {.withClient = false,
      .prepare = &OpenOurs<true>,
      .step =
          [](Session& session) {
              return PressLaunches(session, session.Appointment(), L"ModifyMeeetingAppointment");
          }}},
};

Scene FirstConnection() {
    const SessionPlan plan{.start = Session::Start::Loaded, .prepare = &Disconnect, .step = &Connect};
    return {"connect-first", true, true,
            [plan](StagedModule& module) { return std::make_unique<SessionAct>(module, plan); }};
}

} // namespace

std::vector<Scene> RibbonScenes() {
    std::vector<Scene> scenes = {FirstConnection()};
    AddScenes(scenes, kConnections);
    AddScenes(scenes, kCallbacks);
    AddScenes(scenes, kPresses);
    return scenes;
}

} // namespace faults
