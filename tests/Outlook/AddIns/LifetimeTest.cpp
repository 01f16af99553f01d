#include "tests/Outlook/AddIns/AddInFixture.h"

#include "resources/Connect.h"

namespace {

constexpr const wchar_t* kOurs = LR"({"nbm_flag":true,"conf_id":"c-1"})";

HWND MessageWindow() {
    return ::FindWindowW(L"NBM_OUTLOOK_ADDIN_MSGWND", nullptr);
}

} // namespace

/// The add-in object's coming and going, also at moments that suit nobody.
class Lifetime : public AddInFixture {
protected:
    void ExpectAlive() {
        ASSERT_NE(MessageWindow(), nullptr);
        EXPECT_TRUE(NothingWasSent()); // that is: its own command arrives
        const size_t before = Host().Appointments().size();
        Notify(R"({"notify":101})");
        EXPECT_EQ(Host().Appointments().size(), before + 1);
    }
    /// Has the client send a notification that nobody takes any more, and waits until the channel has delivered it.
    void NotifyNobody() {
        EXPECT_TRUE(Client().Order(R"(notify {"notify":101,"url":"nobody"})").done);
        EXPECT_TRUE(PumpUntil(
            [&] { return Log().CountOf(R"(Inf Meeting::OnRecvMsg {"notify":101,"url":"nobody"})") != 0; }, kDeadline));
        PumpFor(30);
    }
};

TEST_F(Lifetime, TheMessageWindowBelongsToTheConnection) {
    Load();
    Host().OpenExplorer();
    EXPECT_EQ(MessageWindow(), nullptr);
    EXPECT_EQ(AddIn().Connect(), S_OK);
    const HWND window = MessageWindow();
    ASSERT_NE(window, nullptr);
    EXPECT_FALSE(::IsWindowVisible(window));
    EXPECT_EQ(::GetPropW(window, L"nbm_addin_inst"), AddIn().Object());
    EXPECT_EQ(reinterpret_cast<HMODULE>(::GetWindowLongPtrW(window, GWLP_HINSTANCE)), ::GetModuleHandleW(nullptr));
    EXPECT_EQ(::SendMessageW(window, WM_USER + 1, 0, 0), 0) << "a missing callable does no harm";
    EXPECT_EQ(AddIn().Disconnect(), S_OK);
    EXPECT_FALSE(::IsWindow(window));
    EXPECT_EQ(MessageWindow(), nullptr);
}

TEST_F(Lifetime, ConnectingAndDisconnectingTakeAnyOrder) {
    Load();
    Host().OpenExplorer();
    StartClient();
    EXPECT_EQ(AddIn().Disconnect(), S_OK) << "never connected";
    EXPECT_EQ(AddIn().Connect(), S_OK);
    ExpectAlive();
    EXPECT_EQ(AddIn().Connect(), S_OK) << "connected already";
    EXPECT_EQ(::FindWindowExW(nullptr, MessageWindow(), L"NBM_OUTLOOK_ADDIN_MSGWND", nullptr), nullptr);
    ExpectAlive();
    EXPECT_EQ(AddIn().Disconnect(workbench::kUserClosed), S_OK);
    EXPECT_EQ(AddIn().Disconnect(workbench::kUserClosed), S_OK) << "disconnected already";
    NotifyNobody();
    EXPECT_THAT(ExplorerRibbon().Press(L"StartMeetingMail"), IsStatus(S_OK)) << "harmless, and lost";
    EXPECT_EQ(AddIn().Connect(workbench::kAfterStartup), S_OK);
    ExpectAlive();
}

TEST_F(Lifetime, AFailedConnectionCanBeRepeated) {
    Load();
    Host().OpenExplorer();
    StartClient();
    Host().FailMember(L"Application.Inspectors", FailKind::Exception, E_ABORT);
    EXPECT_THAT(AddIn().Connect(), IsStatus(E_ABORT));
    EXPECT_EQ(MessageWindow(), nullptr);
    Host().ClearFailures();
    EXPECT_EQ(AddIn().Connect(), S_OK);
    ExpectAlive();
}

TEST_F(Lifetime, CallbacksOutsideTheConnectionAreAnswered) {
    Load({.habits = {.ribbonBeforeConnection = true, .onLoadTwice = true}});
    Host().OpenExplorer();
    ASSERT_EQ(AddIn().LoadRibbon(Surface::Explorer), S_OK);
    const auto ask = [&](const char* label) {
        EXPECT_EQ(ToNarrow(ExplorerRibbon().Label(L"BookMeetingCalendar")), label);
        EXPECT_TRUE(ExplorerRibbon().Visible(L"BookMeetingMail"));
        EXPECT_NE(ExplorerRibbon().Image(L"StartMeetingMail"), nullptr);
    };
    ask("预约会议"); // the language is not known yet
    EXPECT_THAT(ExplorerRibbon().Press(L"StartMeetingMail"), IsStatus(E_FAIL));
    EXPECT_EQ(AddIn().Connect(), S_OK);
    EXPECT_GE(ExplorerRibbon().OnLoadCount(), 2u);
    ask("Schedule");
    EXPECT_EQ(AddIn().Disconnect(), S_OK);
    ask("Schedule");
    EXPECT_THAT(ExplorerRibbon().Press(L"StartMeetingMail"), IsStatus(S_OK));
    PumpFor(30);
    EXPECT_EQ(Log().CountOf("Inf AddIn::ActionTask"), 0u);
}

TEST_F(Lifetime, TheHostMayGoWithoutAWord) {
    ConnectWithClient({.habits = {.fastShutdown = true}});
    const ItemPtr item = OpenAppointment(false);
    AppointmentRibbon().Press(L"BookMeetingAppointment"); // its task waits, and holds the item
    EXPECT_EQ(AddIn().Exit(), 0);
    EXPECT_EQ(MessageWindow(), nullptr);
    EXPECT_THAT(AddIn().CanUnload(), IsStatus(S_OK));
    NotifyNobody();
}

TEST_F(Lifetime, TasksThatWaitAreDroppedWithTheConnection) {
    ConnectWithClient();
    OpenAppointment(true, kOurs);
    AppointmentRibbon().Press(L"ModifyMeeetingAppointment");
    EXPECT_TRUE(Client().Order(R"(notify {"notify":101})").done);
    const ULONGLONG end = ::GetTickCount64() + kDeadline; // without handling messages
    while (Log().CountOf("Inf AddIn::NotifyCallback Type: 101") == 0 && ::GetTickCount64() < end) {
        ::Sleep(5);
    }
    EXPECT_EQ(AddIn().Disconnect(), S_OK);
    PumpFor(30);
    EXPECT_EQ(Host().Appointments().size(), 1u);
    EXPECT_THAT(Client().Messages(), IsEmpty());
}

TEST_F(Lifetime, AMessageWindowThatAnotherProgramClosesIsForgotten) {
    ConnectWithClient();
    const HWND window = MessageWindow();
    // A stranger's creation message does not change the owner.
    CREATESTRUCTW forged = {};
    ::SendMessageW(window, WM_NCCREATE, 0, 0);
    ::SendMessageW(window, WM_NCCREATE, 0, reinterpret_cast<LPARAM>(&forged));
    EXPECT_EQ(::GetPropW(window, L"nbm_addin_inst"), AddIn().Object());
    ExpectAlive();
    OpenAppointment(true, kOurs);
    AppointmentRibbon().Press(L"ModifyMeeetingAppointment"); // a task that holds the item; the fixture looks for it
    ::SendMessageW(window, WM_CLOSE, 0, 0);
    EXPECT_FALSE(::IsWindow(window));
    EXPECT_THAT(AppointmentRibbon().Press(L"ModifyMeeetingAppointment"), IsStatus(S_OK))
        << "lost, as nobody can run it";
    NotifyNobody();
    // The next connection makes a window of its own, which the last one's end leaves alone.
    EXPECT_EQ(AddIn().Connect(workbench::kExternal), S_OK);
    EXPECT_NE(MessageWindow(), nullptr);
    EXPECT_TRUE(NothingWasSent());
}

TEST_F(Lifetime, ATaskThatWaitsIsNotRunByAnObjectThatEnds) {
    ConnectWithClient({.habits = {.closeInsideRelease = true, .fastShutdown = true}});
    OpenAppointment(true, kOurs)->Close(workbench::kClosePrompt);
    ExplorerRibbon().Press(L"StartMeetingMail");
    // The window closes when the ending object lets go of it, and the host handles its messages meanwhile.
    bool closed = false;
    Host().Observe([&](const workbench::Step& step) {
        if (step.kind == workbench::StepKind::Event && step.text.find(L"Close -> ") != std::wstring::npos) {
            closed = true;
            PumpFor(10);
        }
    });
    EXPECT_EQ(AddIn().Exit(), 0);
    Host().Observe(nullptr);
    EXPECT_TRUE(closed);
    EXPECT_EQ(Log().CountOf("Inf AddIn::Release freed"), 1u);
    EXPECT_EQ(Log().CountOf("Inf Meeting::OnAction Data: "), 0u);
}

TEST_F(Lifetime, TheHostsOrderToEndSurvivesTheDisconnection) {
    Connect();
    ::PostQuitMessage(7);
    EXPECT_EQ(AddIn().Disconnect(), S_OK);
    MSG message = {};
    ASSERT_TRUE(::PeekMessageW(&message, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE));
    EXPECT_EQ(message.wParam, 7u);
}

TEST_F(Lifetime, TheAddInMayGoWhileItsDialogIsOpen) {
    for (const bool letsGo : {false, true}) {
        for (const bool ofNotification : {false, true}) {
            SCOPED_TRACE(testing::Message() << "lets go " << letsGo << ", notification " << ofNotification);
            StopClient();
            Connect();
            if (ofNotification) {
                StartClient();
                OpenAppointment(true, kOurs);
                AppointmentRibbon().Press(L"ModifyMeeetingAppointment");
                NextCommand();
            }
            DialogResponder user(IDCANCEL);
            user.whileOpen = [&](const DialogSeen&) {
                if (letsGo) {
                    EXPECT_GT(AddIn().Exit(), 0) << "the dialog's code holds the object";
                } else {
                    EXPECT_EQ(AddIn().Disconnect(), S_OK);
                }
            };
            if (ofNotification) {
                EXPECT_TRUE(Client().Order(R"(notify {"notify":102})").done);
            } else {
                ExplorerRibbon().Press(L"BookMeetingMail");
            }
            ASSERT_TRUE(Answered(user));
            PumpFor(30);
            EXPECT_THAT(FindDialogs(), IsEmpty());
            if (letsGo) {
                EXPECT_THAT(AddIn().CanUnload(), IsStatus(S_OK));
            }
        }
    }
}

TEST_F(Lifetime, TheChannelOutlivesTheObjectAndServesTheNext) {
    ConnectWithClient();
    ExpectAlive();
    EXPECT_EQ(AddIn().Exit(), 0);
    EXPECT_THAT(AddIn().CanUnload(), IsStatus(S_OK));
    NotifyNobody();
    Connect(); // a new object; the channel is the same
    ExpectAlive();
}

TEST_F(Lifetime, TwoObjectsLiveSideBySide) {
    ConnectWithClient();
    AddInHost& second = Host().LoadAddIn(AddInModulePath(), CLSID_NembraMeeting);
    EXPECT_EQ(second.Connect(), S_OK);
    EXPECT_EQ(AddIn().Disconnect(), S_OK);
    Notify(R"({"notify":101})"); // the one connected last gets them
    EXPECT_EQ(Host().Appointments().size(), 1u);
    EXPECT_THAT(second.Ribbon(Surface::Explorer).Press(L"StartMeetingMail"), IsStatus(S_OK));
    EXPECT_EQ(NextCommand()["cmd"], 2);
    EXPECT_EQ(second.Exit(), 0);
    EXPECT_EQ(MessageWindow(), nullptr);
}

// A suite, so a process, of its own: the module stays loaded once a test has connected it.
class ModuleLifetime : public Lifetime {};

TEST_F(ModuleLifetime, EndsWithTheLastReferenceUnlessItWasConnected) {
    constexpr const wchar_t* kModule = L"OutlookAddIn.dll";
    Load();
    EXPECT_EQ(AddIn().Exit(), 0);
    AddIn().UnloadModule();
    EXPECT_EQ(::GetModuleHandleW(kModule), nullptr);
    ConnectWithClient();
    EXPECT_EQ(AddIn().Exit(), 0);
    EXPECT_THAT(AddIn().CanUnload(), IsStatus(S_OK));
    AddIn().UnloadModule();
    EXPECT_NE(::GetModuleHandleW(kModule), nullptr) << "its threads still run in it";
    NotifyNobody();
}
