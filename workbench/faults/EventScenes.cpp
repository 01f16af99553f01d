#include "workbench/faults/Hooks.h"
#include "workbench/faults/Scenes.h"
#include "workbench/faults/Session.h"

#include "resources/resource.h"

namespace faults {
namespace {

template <bool Saved>
void OpenNewOurs(Session& session) {
    session.CloseInspectors();
    session.item = session.Open(Saved, kMarkedNew);
}

void CloseExtraExplorers(Session& session) {
    while (session.Host().Explorers().size() > 1) {
        const workbench::ExplorerPtr last = session.Host().Explorers().front();
        last->Close();
    }
}

bool SaveOurs(Session& session) {
    return session.item->Save();
}

bool CloseAndExpect(Session& session, workbench::OlInspectorClose mode, int command) {
    session.item->Close(mode);
    session.Settle();
    return session.CommandCame(command);
}

const NamedPlan kPlans[] = {
    {"event-new-explorer",
     {.prepare = &CloseExtraExplorers,
      .step =
          [](Session& session) {
              const workbench::ExplorerPtr opened = session.Host().OpenExplorer();
              return opened->Events().SinkCount() == 1;
          }}},
    {"event-close-explorer",
     {.prepare =
          [](Session& session) {
              CloseExtraExplorers(session);
              session.explorer = session.Host().OpenExplorer();
          },
      .step =
          [](Session& session) {
              session.explorer->Close();
              return session.explorer->Events().SinkCount() == 0;
          }}},
    {"event-new-inspector",
     {.prepare = [](Session& session) { session.CloseInspectors(); },
      .step =
          [](Session& session) {
              const workbench::ItemPtr opened = session.Open(false);
              return opened->Events().SinkCount() == 1;
          }}},
    {"event-write", {.prepare = &OpenOurs<true>, .step = &SaveOurs}},
    {"event-write-sync-now",
     {.withClient = false,
      .prepare = &OpenOurs<true>,
      .step = [](Session& session) { return !session.item->Save() && Launches() > session.before; },
      .dialogAnswer = IDC_SYNC_NOW}},
    {"event-write-sync-later",
     {.withClient = false, .prepare = &OpenOurs<true>, .step = &SaveOurs, .dialogAnswer = IDC_SYNC_LATER}},
    {"event-send",
     {.prepare = &OpenOurs<true>,
      .step =
          [](Session& session) {
              const bool sent = session.item->Send();
              session.Settle();
              return sent && session.CommandCame(6);
          }}},
    {"event-send-cancelled",
     {.prepare =
          [](Session& session) {
              OpenOurs<true>(session);
              session.item->fields.meetingStatus = workbench::kMeetingCanceled;
              session.item->Save();
          },
      .step =
          [](Session& session) {
              const bool sent = session.item->Send();
              session.Settle();
              return sent && session.CommandCame(5);
          }}},
    {"event-before-delete",
     {.prepare = &ShowOurs,
      .step =
          [](Session& session) {
              const std::size_t invalidated = session.Appointment().Invalidations().size();
              return session.item->Delete() && session.Appointment().Invalidations().size() > invalidated;
          }}},
    {"event-close-saved",
     {.prepare = &OpenNewOurs<true>,
      .step = [](Session& session) { return CloseAndExpect(session, workbench::kCloseSave, 6); }}},
    {"event-close-discarded",
     {.prepare = &OpenNewOurs<false>,
      .step = [](Session& session) { return CloseAndExpect(session, workbench::kCloseDiscard, 5); }}},
};

} // namespace

std::vector<Scene> EventScenes() {
    std::vector<Scene> scenes;
    AddScenes(scenes, kPlans);
    return scenes;
}

} // namespace faults
