#include "tests/Outlook/AddIns/AddInFixture.h"
#include "workbench/verify/core/ImportPatch.h"

namespace {

constexpr const wchar_t* kOurs = LR"({"nbm_flag":true,"conf_id":"c-1","theirs":[1]})";

} // namespace

class RibbonPress : public AddInFixture {
protected:
    /// All eight members, in the types that the client expects.
    static void ExpectCommand(const Json::Value& command, int cmd, HWND window) {
        ASSERT_TRUE(command.isObject());
        EXPECT_THAT(command.getMemberNames(), UnorderedElementsAre("cmd", "subject", "confId", "confOutlookId",
                                                                   "startTime", "endTime", "centerX", "centerY"));
        EXPECT_EQ(command["cmd"], cmd);
        const POINT centre = CentreOf(window);
        EXPECT_EQ(command["centerX"], Json::Int(centre.x));
        EXPECT_EQ(command["centerY"], Json::Int(centre.y));
    }
    static void ExpectDetails(const Json::Value& command, const std::string& subject, const std::string& confId,
                              const std::string& entryId, int64_t start, int64_t end) {
        EXPECT_EQ(command["subject"], subject);
        EXPECT_EQ(command["confId"], confId);
        EXPECT_EQ(command["confOutlookId"], entryId);
        EXPECT_EQ(command["startTime"], Json::Int64(start));
        EXPECT_EQ(command["endTime"], Json::Int64(end));
    }
};

TEST_F(RibbonPress, FromTheExplorerSendsTheCommandAndTheWindowsCentre) {
    struct Case {
        const wchar_t* id;
        int cmd; // 0: nothing is sent, as there is no appointment
    };
    const Case cases[] = {
        {L"StartMeetingMail", 2},          {L"StartVideoMeetingMail", 2},     {L"StartAudioMeetingMail", 3},
        {L"BookMeetingMail", 4},           {L"StartMeetingCalendar", 2},      {L"StartVideoMeetingCalendar", 2},
        {L"StartAudioMeetingCalendar", 3}, {L"BookMeetingCalendar", 4},       {L"BookMeetingAppointment", 4},
        {L"CancelMeeetingAppointment", 0}, {L"ModifyMeeetingAppointment", 0},
    };
    ConnectWithClient();
    OpenAppointment(true, kOurs); // an inspector in front changes nothing
    Host().OpenExplorer();        // the active explorer is this one now
    for (const Case& each : cases) {
        SCOPED_TRACE(ToNarrow(each.id));
        EXPECT_THAT(ExplorerRibbon().Press(each.id), IsStatus(S_OK));
        if (each.cmd == 0) {
            EXPECT_TRUE(NothingWasSent());
            continue;
        }
        const Json::Value command = NextCommand();
        ExpectCommand(command, each.cmd, Host().ActiveExplorer()->Window());
        ExpectDetails(command, "", "", "", 0, 0);
        EXPECT_THAT(LogLines(), Contains("Inf AddIn::OnAction Action item id: " + ToNarrow(each.id)));
    }
    EXPECT_THAT(ExplorerRibbon().Press(L"BookMeetingNowhere"), IsStatus(E_NOTIMPL));
    EXPECT_TRUE(NothingWasSent());
    EXPECT_THAT(LogLines(), AllOf(Contains("War AddIn::OnAction Unkown ribbon id: BookMeetingNowhere"),
                                  Contains("Inf AddIn::ActionTask action result: 0x0")));
}

TEST_F(RibbonPress, APointerIsTestedWithoutAskingTheHostForItsIdentity) {
    constexpr const wchar_t* kUnknown = L"{00000000-0000-0000-C000-000000000046}";
    ConnectWithClient({.habits = {.countQueryInterface = true}});
    Host().ResetCalls();
    ExplorerRibbon().Press(L"StartMeetingMail");
    NextCommand();
    EXPECT_GT(Host().CallCount(), 0u);
    for (const workbench::CallRecord& call : Host().Calls()) {
        EXPECT_FALSE(call.member == L"QueryInterface" && call.arguments == kUnknown) << ToNarrow(call.Text());
    }
}

TEST_F(RibbonPress, InAnAppointmentSendsItsDetails) {
    struct Case {
        const char* name;
        const wchar_t* id;
        bool saved;
        const wchar_t* comment;
        int cmd; // 0: nothing is sent
        const char* subject;
        const char* confId;
        bool sendsEntryId;
        bool sendsTimes;
    };
    const Case cases[] = {
        {"schedule, never saved", L"BookMeetingAppointment", false, L"", 4, kPlannedSubjectUtf8, "", false, true},
        {"schedule, saved", L"BookMeetingAppointment", true, L"", 4, kPlannedSubjectUtf8, "", false, true},
        {"schedule ours again", L"BookMeetingAppointment", true, kOurs, 4, kPlannedSubjectUtf8, "", false, true},
        {"modify ours", L"ModifyMeeetingAppointment", true, kOurs, 6, kPlannedSubjectUtf8, "c-1", true, true},
        {"modify a foreign one", L"ModifyMeeetingAppointment", true, L"", 0, "", "", false, false},
        {"start", L"StartMeetingMail", true, kOurs, 2, "", "", false, false},
        {"schedule by the mail's button", L"BookMeetingMail", true, kOurs, 4, kPlannedSubjectUtf8, "", false, true},
    };
    ConnectWithClient();
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        const ItemPtr item = OpenAppointment(each.saved, each.comment);
        EXPECT_THAT(AppointmentRibbon().Press(each.id), IsStatus(S_OK));
        if (each.cmd == 0) {
            EXPECT_TRUE(NothingWasSent());
            continue;
        }
        EXPECT_EQ(item->Comment() == each.comment, each.saved) << "marked only when it was never saved, and at once";
        const Json::Value command = NextCommand();
        ExpectCommand(command, each.cmd, item->OpenedInspector()->Window());
        ExpectDetails(command, each.subject, each.confId, each.sendsEntryId ? ToNarrow(item->EntryId()) : "",
                      each.sendsTimes ? kPlannedStartSeconds : 0, each.sendsTimes ? kPlannedEndSeconds : 0);
    }
}

TEST_F(RibbonPress, CancelDeletesTheAppointmentAndSendsNothing) {
    ConnectWithClient();
    for (const wchar_t* comment : {kOurs, L""}) {
        const ItemPtr item = OpenAppointment(true, comment);
        EXPECT_THAT(AppointmentRibbon().Press(L"CancelMeeetingAppointment"), IsStatus(S_OK));
        EXPECT_TRUE(item->Deleted());
        EXPECT_TRUE(NothingWasSent());
    }
    const ItemPtr kept = OpenAppointment(true, kOurs);
    Host().FailMember(L"AppointmentItem.Delete", FailKind::Exception, kForced);
    EXPECT_THAT(AppointmentRibbon().Press(L"CancelMeeetingAppointment"), IsStatus(S_OK));
    EXPECT_FALSE(kept->Deleted());
    EXPECT_TRUE(NothingWasSent());
}

TEST_F(RibbonPress, ScheduleAndModifyPutTheFocusIntoTheBodyEditor) {
    ConnectWithClient();
    for (const wchar_t* id : {L"BookMeetingAppointment", L"ModifyMeeetingAppointment"}) {
        SCOPED_TRACE(ToNarrow(id));
        const InspectorPtr inspector = OpenAppointment(true, kOurs)->OpenedInspector();
        ASSERT_NE(inspector->BodyWindow(), nullptr);
        ::SetFocus(inspector->Window());
        AppointmentRibbon().Press(L"StartMeetingMail"); // any other button leaves it
        EXPECT_EQ(::GetFocus(), inspector->Window());
        AppointmentRibbon().Press(id);
        EXPECT_EQ(::GetFocus(), inspector->BodyWindow());
    }
    PumpUntil([&] { return Client().Messages().size() == 4; }, kDeadline);
    // A window without the editor's chain: harmless, and the command is sent all the same.
    Host().habits().editorChain = false;
    OpenAppointment(true);
    EXPECT_THAT(AppointmentRibbon().Press(L"BookMeetingAppointment"), IsStatus(S_OK));
    EXPECT_EQ(ParseJson(WaitForCommand(5))["cmd"], 4);
}

TEST_F(RibbonPress, WhatTheHostRefusesLeavesTheRestOfTheCommand) {
    ConnectWithClient();
    OpenAppointment(true, kOurs);
    // The appointment's data cannot be read: the command goes out without them.
    Host().FailMember(L"AppointmentItem.MeetingStatus", FailKind::Exception, kForced);
    AppointmentRibbon().Press(L"BookMeetingAppointment");
    ExpectDetails(NextCommand(), "", "", "", 0, 0);
    AppointmentRibbon().Press(L"ModifyMeeetingAppointment");
    EXPECT_TRUE(NothingWasSent());
    Host().ClearFailures();
    // No window to be found: the centre is 0.
    Host().FailMember(L"AppointmentItem.GetInspector", FailKind::NullResult, kForced);
    AppointmentRibbon().Press(L"ModifyMeeetingAppointment");
    const Json::Value command = NextCommand();
    EXPECT_EQ(command["centerX"], 0);
    ExpectDetails(command, kPlannedSubjectUtf8, "c-1", ToNarrow(Host().Items().front()->EntryId()),
                  kPlannedStartSeconds, kPlannedEndSeconds);
}

TEST_F(RibbonPress, WithoutAClientTheUserIsAskedToLogIn) {
    for (const long language : {2052, 1033}) {
        for (const bool inInspector : {false, true}) {
            SCOPED_TRACE(testing::Message() << language << (inInspector ? " inspector" : " explorer"));
            Connect({.language = language});
            HWND owner = Host().ActiveExplorer()->Window();
            if (inInspector) {
                owner = OpenAppointment(false)->OpenedInspector()->Window();
            }
            Log().NewLines();
            DialogResponder user(IDCANCEL);
            EXPECT_THAT(inInspector ? AppointmentRibbon().Press(L"BookMeetingAppointment")
                                    : ExplorerRibbon().Press(L"StartMeetingCalendar"),
                        IsStatus(S_OK));
            EXPECT_THAT(user.Seen(), IsEmpty()) << "not within the press";
            ASSERT_TRUE(Answered(user));
            PumpFor(20);
            EXPECT_THAT(FindDialogs(), IsEmpty());
            const auto dialog = user.Last();
            ExpectDialog(dialog, owner);
            EXPECT_THAT(dialog.VisibleButtons(), IsEmpty());
            EXPECT_THAT(ToNarrow(dialog.texts.at(0)), HasSubstr(language == 2052 ? "登录客户端" : "Log in"));
            // The launch itself fails here: nobody has registered the client's URI scheme.
            EXPECT_THAT(Log().NewLines(), AllOf(Contains(StartsWith("Err Meeting::OnAction ShellExecute fail: ")),
                                                Contains("Inf AddIn::ActionTask action result: 0xa0080001")));
        }
    }
}

namespace {
InspectorPtr g_closedByLaunch;

HINSTANCE WINAPI CloseInsteadOfLaunch(HWND, LPCWSTR, LPCWSTR, LPCWSTR, LPCWSTR, INT) {
    std::exchange(g_closedByLaunch, nullptr)->CloseWithoutAsking();
    return nullptr;
}
} // namespace

// A suite, so a process, of its own: the link to the client takes the function's address when it starts.
class ReplacedLaunch : public AddInFixture {};

TEST_F(ReplacedLaunch, TheUserIsAskedToLogInAlthoughTheWindowHasClosed) {
    Load();
    ASSERT_NE(verify::PatchImport(::GetModuleHandleW(L"OutlookAddIn.dll"), "ShellExecuteW",
                                  reinterpret_cast<void*>(&CloseInsteadOfLaunch)),
              nullptr);
    Host().OpenExplorer();
    ASSERT_THAT(AddIn().Connect(), IsStatus(S_OK));
    g_closedByLaunch = OpenAppointment(false)->OpenedInspector();
    const HWND owner = g_closedByLaunch->Window();
    DialogResponder user(IDCANCEL);
    AppointmentRibbon().Press(L"BookMeetingAppointment");
    EXPECT_TRUE(Answered(user));
    EXPECT_FALSE(::IsWindow(owner));
    EXPECT_NE(user.Last().owner, owner);
}

TEST_F(RibbonPress, APressWhileTheDialogIsOpenIsHandledInItsLoop) {
    Connect();
    DialogResponder user(std::vector<int>{IDCANCEL, IDCANCEL});
    bool pressed = false;
    user.whileOpen = [&](const DialogSeen&) {
        if (!pressed) {
            pressed = true;
            ExplorerRibbon().Press(L"BookMeetingMail");
        }
    };
    ExplorerRibbon().Press(L"StartMeetingCalendar");
    ASSERT_TRUE(Answered(user));
    PumpFor(30);
    EXPECT_EQ(Log().CountOf("Inf AddIn::ActionTask action result: 0xa0080001"), 2u);
    EXPECT_THAT(FindDialogs(), IsEmpty());
}
