#include "workbench/demo/ClientLaunch.h"
#include "workbench/demo/Scenarios.h"

#include "support/Text.h"

// The client has gone when the user saves one of its appointments: now or later?
namespace demo {
namespace {

/// Changes the appointment as the user would in its window.
void MoveTo(const workbench::ItemPtr& item, const wchar_t* location) {
    item->fields.location = location;
    item->SetSaved(false);
    item->OpenedInspector()->View()->Repaint();
}

} // namespace

void PlaySync(Stage& stage) {
    Story& story = stage.story;
    story.Scenario(L"Scenario D: saving a meeting while no client runs");
    stage.StartClient();
    stage.FillForm();
    stage.PressInExplorer(L"Calendar", kScheduleCalendar);
    stage.AwaitCommand(kSchedule);
    const Json::Value notification = stage.AwaitNotification(kScheduled);
    const std::wstring confId = ToWide(notification["confId"].asString());
    stage.AwaitFilled([&] { return stage.FindByConference(confId); }, notification);
    const workbench::ItemPtr item = stage.FindByConference(confId);
    const HWND window = item->OpenedInspector()->Window();
    stage.camera.Arrange(window, kEditorWidth, kEditorHeight);
    stage.EndClient();
    ClientLaunch launch(stage);

    ExpectedDialog question;
    question.what = L"The add-in asks whether to synchronise";
    question.text = stage.In(L"Synchronizing the update will start the Nembra Cloud Meeting client.",
                             L"同步更新将启动Nembra云会议客户端。");
    question.picture = L"dialog-synchronise";
    question.answer = kLater;
    bool saved = false;
    stage.AwaitDialog(question, window, [&] {
        story.Act(L"The user moves the appointment to another room and saves it", 20'000);
        MoveTo(item, stage.In(L"Room 4", L"四号会议室"));
        saved = item->Save();
    });
    story.Check(L"It is saved, no client was started", saved && meeting_client::ClientProcess::FindRunning() == 0);

    question.picture.clear();
    question.answer = kSyncNow;
    stage.AwaitDialog(question, window, [&] {
        story.Act(L"The user saves another change", 20'000);
        MoveTo(item, stage.In(L"Room 5", L"五号会议室"));
        saved = item->Save();
    });
    story.Check(L"The save is refused until the client is up", !saved);
    launch.AwaitClient();
    story.Await(L"Now the user can save it without a question", [&] { return item->Save(); });
    item->Close(workbench::kCloseSave);
    stage.AwaitCommand(kModify);
    stage.AwaitNotification(kModified);
    stage.EndClient();
}

} // namespace demo
