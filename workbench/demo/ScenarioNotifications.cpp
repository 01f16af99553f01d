#include "workbench/demo/Scenarios.h"
#include "workbench/demo/Stage.h"

#include "workbench/client/Meetings.h"

#include "support/Text.h"

// Later notifications of the client: results, and changes that its user makes there.
namespace demo {
namespace {

/// A meeting appointment that is saved and that the client knows by its entry id. No window shows it.
ScheduledMeeting MakeSavedMeeting(Stage& stage, const wchar_t* subject) {
    const ScheduledMeeting made = stage.MakeMeeting(subject);
    stage.story.Act(L"The user saves and closes it");
    made.item->Save();
    made.item->Close(workbench::kCloseSave);
    stage.AwaitExchange(kModify, kModified);
    return made;
}

/// 200: the meeting was changed in the client while its appointment is open in Outlook.
void ChangeInClient(Stage& stage, const ScheduledMeeting& meeting) {
    Story& story = stage.story;
    const workbench::ItemPtr& item = meeting.item;
    story.Act(L"The user opens the appointment again");
    const workbench::InspectorPtr inspector = stage.outlook.OpenInspector(item);
    stage.camera.Arrange(inspector->Window(), kEditorSize);
    stage.TellAppointment(item, false);
    constexpr std::int64_t kTwoHours = 7200;
    Json::Value change(Json::objectValue);
    change["subject"] = ToUtf8(item->Subject() + stage.In(L" (moved)", L"（改期）"));
    change["startTime"] = Json::Int64(1'772'528'400 + kTwoHours);
    change["endTime"] = Json::Int64(1'772'528'400 + kTwoHours + 3600);

    const ExpectedDialog updated{.what = L"The add-in changes the appointment and says so",
                                 .text = stage.In(L"Email invitation updated.", L"邮件邀请已更新。"),
                                 .picture = L"dialog-updated"};
    Json::Value notification;
    stage.AwaitDialog(updated, inspector->Window(), [&] {
        story.Act(L"Its organiser moves the meeting in the client");
        stage.Order("change " + meeting.confId + " " + meeting_client::Compact(change));
        notification = stage.AwaitNotification(kChanged);
    });
    story.Check(L"The appointment has changed; saving it is left to the user",
                Holds(*item, notification) && !item->Saved());
    stage.TellAppointment(item, false);
    story.Act(L"The user saves and closes it");
    item->Save();
    item->Close(workbench::kCloseSave);
}

/// 102 while the user schedules from an open appointment, then a cancel of that appointment, which brings 103.
void ModifyAndCancel(Stage& stage) {
    Story& story = stage.story;
    story.Act(L"The user schedules from a new appointment; the client takes its time");
    stage.Order("delay 3000");
    const workbench::ItemPtr item = stage.outlook.NewAppointment();
    item->fields.subject = stage.In(L"Tea break", L"茶歇");
    stage.PressInAppointment(stage.outlook.OpenInspector(item), kScheduleAppointment);
    stage.AwaitCommand(kSchedule);

    const ExpectedDialog updated{.what = L"The add-in tells the user",
                                 .text = stage.In(L"Email invitation updated.", L"邮件邀请已更新。")};
    stage.AwaitDialog(updated, stage.explorer->Window(), [&] {
        story.Act(L"Meanwhile the client reports another modification, and that it failed");
        stage.Order(R"(notify {"notify":102,"code":404,"message":"no such meeting"})");
        stage.AwaitNotification(kModified);
    });
    stage.log.Tell(story, L"Modify meeting fail: 404");
    stage.Order("delay 0");
    const Json::Value notification = stage.AwaitNotification(kScheduled);
    stage.AwaitFilled(notification, item);

    const workbench::InspectorPtr inspector = item->OpenedInspector();
    stage.PressInAppointment(inspector, kCancelAppointment);
    story.Await(L"The appointment is deleted and its window closed",
                [&] { return item->Deleted() && inspector->Closed(); });
    stage.AwaitExchange(kCancel, kCancelled);
    story.Act(L"Had the client failed to cancel it, the log would say so");
    stage.Order(R"(notify {"notify":103,"code":404,"message":"no such meeting"})");
    stage.AwaitNotification(kCancelled);
    stage.log.Tell(story, L"Cancel meeting fail: 404");
}

} // namespace

void PlayNotifications(Stage& stage) {
    stage.story.Scenario(L"Scenario C: starting, changing and cancelling");
    stage.StartClient();
    stage.PressInExplorer(L"Inbox", kStartMail);
    stage.AwaitCommand(kStart);
    ChangeInClient(stage, MakeSavedMeeting(stage, stage.In(L"Design review", L"设计评审")));
    ModifyAndCancel(stage);
    stage.EndClient();
}

} // namespace demo
