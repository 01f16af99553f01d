#include "workbench/demo/Scenarios.h"
#include "workbench/demo/Stage.h"

#include "workbench/client/Meetings.h"

#include "support/Text.h"

// The client runs: a press becomes a command, its answer an appointment.
namespace demo {
namespace {

void CheckButtons(Stage& stage, const workbench::ItemPtr& item) {
    workbench::Ribbon& ribbon = stage.addIn->Ribbon(workbench::Surface::Appointment);
    const workbench::InspectorPtr inspector = item->OpenedInspector();
    stage.story.Check(L"Its window offers \"" + stage.LabelOf(kCancelAppointment) + L"\" and no longer \"" +
                          stage.LabelOf(kScheduleAppointment) + L"\"",
                      ribbon.Visible(kCancelAppointment, inspector) && ribbon.Enabled(kCancelAppointment, inspector) &&
                          !ribbon.Visible(kScheduleAppointment, inspector));
}

/// Pressing on the calendar tab makes a new appointment.
void ScheduleFromCalendar(Stage& stage) {
    stage.FillForm();
    stage.PressInExplorer(L"Calendar", kScheduleCalendar);
    stage.AwaitCommand(kSchedule);
    stage.log.Tell(stage.story, L"action result: ");
    const Json::Value notification = stage.AwaitNotification(kScheduled);
    stage.Order("answer 4 default");
    const workbench::ItemPtr item = stage.AwaitFilled(notification);
    CheckButtons(stage, item);
    stage.camera.Arrange(item->OpenedInspector()->Window(), kEditorSize);
    stage.camera.Take(L"appointment", item->OpenedInspector()->Window());

    stage.story.Act(L"The user saves and closes it");
    item->Save();
    item->Close(workbench::kCloseSave);
    stage.story.Data(L"entry id", item->EntryId());
    stage.AwaitExchange(kModify, kModified);
}

/// Pressing in the window of a new appointment fills that appointment.
void ScheduleFromAppointment(Stage& stage) {
    Story& story = stage.story;
    story.Act(L"The user opens a new appointment, writes a subject, does not save");
    const workbench::ItemPtr item = stage.outlook.NewAppointment();
    item->fields.subject = stage.In(L"Budget review", L"预算评审");
    const workbench::InspectorPtr inspector = stage.outlook.OpenInspector(item);
    stage.camera.Arrange(inspector->Window(), kEditorSize);
    stage.camera.Take(L"appointment-before", inspector->Window());
    stage.TellAppointment(item, false);
    stage.PressInAppointment(inspector, kScheduleAppointment);
    story.Check(L"The add-in marks it at once as its own", item->Comment().find(L"nbm_flag") != std::wstring::npos);
    story.Data(L"marker", OneLine(item->Comment()));
    const Json::Value command = stage.AwaitCommand(kSchedule);
    const Json::Value notification = stage.AwaitNotification(kScheduled);
    stage.AwaitFilled(notification, item);
    story.Check(L"It is the same appointment; its first window was closed, a new one shows it",
                inspector->Closed() && item->OpenedInspector() != inspector && item->EntryId().empty() &&
                    command["subject"].asString() == ToUtf8(item->Subject()));
    CheckButtons(stage, item);
    story.Act(L"The user sends the invitation");
    item->Send();
    stage.AwaitExchange(kModify, kModified);
}

} // namespace

void PlaySchedule(Stage& stage) {
    stage.story.Scenario(L"Scenario A: scheduling while the client runs");
    stage.StartClient();
    ScheduleFromCalendar(stage);
    ScheduleFromAppointment(stage);
    stage.EndClient();
}

} // namespace demo
