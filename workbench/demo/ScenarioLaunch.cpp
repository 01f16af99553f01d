#include "workbench/demo/ClientLaunch.h"
#include "workbench/demo/Scenarios.h"

#include "workbench/host/Pump.h"

#include "support/Text.h"

// No client runs: the add-in starts it and asks the user to log in. The press itself is lost; the next one goes
// through.
namespace demo {

void PlayLaunch(Stage& stage) {
    Story& story = stage.story;
    story.Scenario(L"Scenario B: scheduling while no client runs");
    stage.EndClient();
    ClientLaunch launch(stage);
    story.Check(L"No client runs", meeting_client::ClientProcess::FindRunning() == 0);

    const std::size_t before = stage.outlook.Appointments().size();
    ExpectedDialog login;
    login.what = L"The add-in asks the user to log in";
    login.text = stage.In(L"Log in to the client", L"请登录客户端");
    // The client's console must be there before the picture, to be taken off it.
    login.whileOpen = [] {
        workbench::PumpUntil([] { return meeting_client::ClientProcess::FindRunning() != 0; }, Story::kUsualLimit);
    };
    login.picture = L"dialog-log-in";
    stage.AwaitDialog(login, stage.explorer->Window(), [&] { stage.PressInExplorer(L"Calendar", kScheduleCalendar); });
    stage.log.Tell(story, L"action result: 0x");
    launch.AwaitClient();
    story.Check(L"The press was not repeated: no command has arrived, no appointment was made",
                stage.Client().Messages("in").empty() && stage.outlook.Appointments().size() == before);

    stage.FillForm();
    stage.PressInExplorer(L"Calendar", kScheduleCalendar);
    stage.AwaitCommand(kSchedule);
    const workbench::ItemPtr item = stage.AwaitFilled(stage.AwaitNotification(kScheduled));

    story.Act(L"The user closes the new appointment without saving: the client is told to cancel");
    item->Close(workbench::kCloseDiscard);
    stage.AwaitExchange(kCancel, kCancelled);
    stage.EndClient();
}

} // namespace demo
