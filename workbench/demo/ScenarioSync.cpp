#include "workbench/demo/ClientLaunch.h"
#include "workbench/demo/Scenarios.h"
#include "workbench/demo/Stage.h"

// The client has gone when the user saves one of its appointments: now or later?
namespace demo {
namespace {

class UnsyncedSave {
public:
    UnsyncedSave(Stage& stage, workbench::ItemPtr item) : stage_(stage), item_(std::move(item)) {}

    /// Moves the appointment, saves it and answers the question. @return whether it was saved.
    bool Try(const wchar_t* room, int answer, const wchar_t* picture = L"") {
        const ExpectedDialog question{
            .what = L"The add-in asks whether to synchronise",
            .text = stage_.In(L"Synchronizing the update will start the Nembra Cloud Meeting client.",
                              L"同步更新将启动Nembra云会议客户端。"),
            .answer = answer,
            .picture = picture};
        bool saved = false;
        const std::wstring before = item_->Comment();
        stage_.AwaitDialog(question, item_->OpenedInspector()->Window(), [&] {
            stage_.story.Act(std::wstring(L"The user moves the appointment to ") + room + L" and saves it", 20'000);
            item_->fields.location = room;
            item_->Touch();
            saved = item_->Save();
        });
        stage_.log.Tell(stage_.story, L"OnAppointmentItemWrite]1, 0, 1");
        stage_.log.Tell(stage_.story, L"OnAppointmentItemWrite]id = " + std::to_wstring(answer));
        stage_.TellMarker(before, item_, MarkerNow::Same);
        return saved;
    }

private:
    Stage& stage_;
    workbench::ItemPtr item_;
};

bool ClientRuns() {
    return meeting_client::ClientProcess::FindRunning() != 0;
}

} // namespace

void SaveWithoutClient(Stage& stage) {
    Story& story = stage.story;
    const workbench::ItemPtr item = stage.MakeMeeting(stage.In(L"Quarterly review", L"季度回顾")).item;
    stage.camera.Arrange(item->OpenedInspector()->Window(), kEditorSize);
    stage.EndClient();
    ClientLaunch launch(stage);
    UnsyncedSave save(stage, item);

    const bool savedByCloseBox = save.Try(stage.In(L"Room 4", L"四号会议室"), kCloseBox);
    story.Check(L"Close box: the save is refused, nothing else happens",
                !savedByCloseBox && item->SaveCount() == 0 && !ClientRuns());

    const bool savedLater = save.Try(stage.In(L"Room 5", L"五号会议室"), kLater, L"dialog-synchronise");
    story.Check(L"Later: it is saved, no client was started", savedLater && item->Saved() && !ClientRuns());

    const bool savedNow = save.Try(stage.In(L"Room 6", L"六号会议室"), kSyncNow);
    story.Check(L"Sync now: the save is refused until the client is up", !savedNow && !item->Saved());
    stage.log.Tell(story, L"action result: ");
    launch.AwaitClient();
    story.Await(L"Now the user can save it without a question", [&] { return item->Save(); });
    stage.log.Tell(story, L"OnAppointmentItemWrite]1, 1, 1");
    const std::wstring before = item->Comment();
    item->Close(workbench::kCloseSave);
    stage.AwaitExchange(kModify, kModified);
    story.Plain(L"The code is 404: the stand-in client forgets its meetings when it ends.");
    stage.TellMarker(before, item, MarkerNow::Settled);
    stage.EndClient();
}

} // namespace demo
