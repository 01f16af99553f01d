#include "workbench/demo/Scenarios.h"
#include "workbench/demo/Stage.h"

// The user changes, sends and deletes a scheduled meeting appointment, and the client receives the commands.
namespace demo {
namespace {

/// The client is told once, with the final details.
workbench::ItemPtr SaveAndClose(Stage& stage) {
    Story& story = stage.story;
    const workbench::ItemPtr item = stage.MakeMeeting(stage.In(L"Staff meeting", L"部门会议")).item;
    const std::wstring before = item->Comment();
    story.Act(L"The user corrects the subject, saves and closes it");
    item->fields.subject += stage.In(L", March", L"（三月）");
    item->Save();
    stage.log.Tell(story, L"OnAppointmentItemWrite");
    item->Close(workbench::kCloseSave);
    stage.log.Tell(story, L"InspectorEventsSink::Invoke]DispId: 61448"); // Close
    stage.log.Tell(story, L"action result: ");
    stage.AwaitExchange(kModify, kModified);
    stage.TellMarker(before, item, MarkerNow::Settled);
    story.Data(L"saved", item->Saved() ? L"yes" : L"no: the marker was written after the save");

    const std::wstring settled = item->Comment();
    story.Act(L"The user opens it again and closes it; asked whether to keep what is not saved, the answer is yes");
    stage.outlook.closeAnswer = workbench::kCloseSave;
    stage.outlook.OpenInspector(item)->Close(workbench::kClosePrompt);
    stage.log.Tell(story, L"InspectorEventsSink::Invoke]DispId: 61448");
    stage.AwaitNoCommand();
    stage.TellMarker(settled, item, MarkerNow::Same);
    return item;
}

void SendUpdateAndCancellation(Stage& stage, const workbench::ItemPtr& item) {
    Story& story = stage.story;
    const std::wstring before = item->Comment();
    story.Act(L"The user opens it, moves it to another room and sends the update to the attendees");
    stage.outlook.OpenInspector(item);
    item->fields.location = stage.In(L"Room 3", L"三号会议室");
    item->Touch();
    item->Send();
    stage.log.Tell(story, L"isNembraMeeting: 1, isAlive: 1, oldStatus: 1, newStatus: 0"); // no save before the send
    stage.log.Tell(story, L"action result: ");
    stage.AwaitExchange(kModify, kModified);
    stage.TellMarker(before, item, MarkerNow::Same);

    story.Act(L"The user calls the meeting off: its status becomes 5, it is saved, the cancellation sent");
    stage.outlook.OpenInspector(item);
    item->fields.meetingStatus = workbench::kMeetingCanceled;
    item->SetSaved(false);
    item->Save();
    stage.log.Tell(story, L"OnAppointmentItemWrite]1, 1, 5");
    item->Send();
    stage.log.Tell(story, L"isNembraMeeting: 1, isAlive: 1, oldStatus: 5, newStatus: 5");
    stage.log.Tell(story, L"action result: ");
    stage.AwaitExchange(kCancel, kCancelled);
    stage.TellMarker(before, item, MarkerNow::Same);
}

/// Another appointment's window is open meanwhile: its ribbon is the one that Outlook asks anew.
void Delete(Stage& stage, const workbench::ItemPtr& item) {
    Story& story = stage.story;
    const workbench::Ribbon& ribbon = stage.addIn->Ribbon(workbench::Surface::Appointment);
    const std::size_t before = ribbon.Invalidations().size();
    story.Act(L"The user opens the appointment that was called off and deletes it");
    stage.outlook.OpenInspector(item);
    item->Delete();
    stage.log.Tell(story, L"ItemEventsSink::Invoke]DispId: 64117"); // BeforeDelete
    for (std::size_t i = before; i < ribbon.Invalidations().size(); ++i) {
        story.Data(L"invalidated", ribbon.Invalidations()[i].controlId);
    }
    story.Check(L"It is deleted, and the add-in has had \"" + stage.LabelOf(kCancelAppointment) + L"\" drawn anew",
                item->Deleted() && !item->OpenedInspector() && ribbon.Invalidations().size() == before + 1 &&
                    ribbon.Invalidations().back().controlId == kCancelAppointment);
    stage.log.Tell(story, L"rgszName: GetVisible");
    stage.log.Tell(story, L"rgszName: GetEnable");
    stage.AwaitNoCommand();
}

void Discard(Stage& stage, const workbench::ItemPtr& item) {
    Story& story = stage.story;
    const std::wstring before = item->Comment();
    story.Act(L"The user closes \"" + item->Subject() + L"\" without saving");
    item->Close(workbench::kCloseDiscard);
    stage.log.Tell(story, L"InspectorEventsSink::Invoke]DispId: 61448");
    stage.log.Tell(story, L"action result: ");
    stage.AwaitExchange(kCancel, kCancelled);
    stage.TellMarker(before, item, MarkerNow::Gone);
}

} // namespace

void PlayLife(Stage& stage) {
    stage.story.Scenario(L"Scenario D: what the client learns of a meeting's life");
    stage.StartClient();
    const workbench::ItemPtr item = SaveAndClose(stage);
    SendUpdateAndCancellation(stage, item);
    const workbench::ItemPtr discarded = stage.MakeMeeting(stage.In(L"Lunch", L"午餐会")).item;
    Delete(stage, item);
    Discard(stage, discarded);
    SaveWithoutClient(stage);
}

} // namespace demo
