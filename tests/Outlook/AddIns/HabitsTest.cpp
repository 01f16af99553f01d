#include "tests/Outlook/AddIns/AddInFixture.h"

namespace {

struct HabitCase {
    const char* name;
    void (*set)(Habits& habits);
};

const HabitCase kHarmless[] = {
    {"distinct pointers", [](Habits& habits) { habits.distinctPointers = true; }},
    {"distinct identities", [](Habits& habits) { habits.distinctPointers = habits.distinctIdentity = true; }},
    {"null as empty", [](Habits& habits) { habits.nullAsEmpty = true; }},
    {"deferred exceptions", [](Habits& habits) { habits.deferredExceptions = true; }},
    {"ribbon before the connection", [](Habits& habits) { habits.ribbonBeforeConnection = true; }},
    {"onLoad twice", [](Habits& habits) { habits.onLoadTwice = true; }},
    {"no editor", [](Habits& habits) { habits.editorChain = false; }},
    {"close inside a release", [](Habits& habits) { habits.closeInsideRelease = true; }},
    {"ribbon drawn", [](Habits& habits) { habits.drawRibbon = true; }},
};

} // namespace

/// The behaviour is the same for all habits of the host.
class HostHabits : public AddInFixture {};

TEST_F(HostHabits, AMeetingIsScheduledAndChangedWhateverTheHostsWays) {
    for (const HabitCase& each : kHarmless) {
        SCOPED_TRACE(each.name);
        HostOptions options;
        each.set(options.habits);
        ConnectWithClient(options);
        const ItemPtr item = OpenAppointment(false);
        EXPECT_EQ(AppointmentRibbon().Press(L"BookMeetingAppointment"), S_OK);
        const Json::Value command = NextCommand();
        EXPECT_EQ(command["cmd"], 4);
        EXPECT_EQ(command["subject"], kPlannedSubjectUtf8);
        EXPECT_EQ(command["centerX"], Json::Int(CentreOf(item->OpenedInspector()->Window()).x));
        Notify(R"({"notify":101,"subject":"scheduled","confId":"c-7"})");
        PumpFor(20);
        EXPECT_EQ(item->Subject(), L"scheduled");
        EXPECT_EQ(ParseJson(ToNarrow(item->Comment()))["conf_id"], "c-7");
        EXPECT_EQ(Host().Appointments().size(), 1u);

        const ItemPtr saved = Host().NewAppointment();
        ASSERT_TRUE(saved->Save());
        Host().AddStore(L"Without id", L"");
        DialogResponder user(IDCANCEL);
        Notify(R"({"notify":200,"subject":"changed","confOutlookId":")" + ToNarrow(saved->EntryId()) + "\"}");
        EXPECT_TRUE(Answered(user));
        PumpFor(20);
        EXPECT_EQ(saved->Subject(), L"changed");
    }
}

TEST_F(HostHabits, AHostWithoutWindowHandlesStillGetsItsCommandsThrough) {
    ConnectWithClient({.habits = {.noOleWindow = true}});
    ExplorerRibbon().Press(L"StartMeetingMail");
    OpenAppointment(false);
    AppointmentRibbon().Press(L"BookMeetingAppointment");
    for (const int cmd : {2, 4}) {
        const Json::Value command = NextCommand();
        EXPECT_EQ(command["cmd"], cmd);
        EXPECT_EQ(command["centerX"], 0);
        EXPECT_EQ(command["centerY"], 0);
    }
    StopClient();
    DialogResponder user(IDCANCEL);
    ExplorerRibbon().Press(L"StartMeetingMail");
    EXPECT_TRUE(Answered(user));
    EXPECT_EQ(user.Last().owner, nullptr);
}

TEST_F(HostHabits, WithoutAContextAPressActsAsInTheExplorer) {
    ConnectWithClient({.habits = {.nullContext = true}});
    const ItemPtr item = OpenAppointment(false);
    EXPECT_EQ(AppointmentRibbon().Press(L"BookMeetingAppointment"), S_OK);
    const Json::Value command = NextCommand();
    EXPECT_EQ(command["subject"], "");
    EXPECT_EQ(command["centerX"], Json::Int(CentreOf(Host().ActiveExplorer()->Window()).x));
    EXPECT_EQ(item->Comment(), L"");
    EXPECT_EQ(AppointmentRibbon().Press(L"CancelMeeetingAppointment"), S_OK);
    EXPECT_TRUE(NothingWasSent());
    EXPECT_FALSE(item->Deleted());
}

TEST_F(HostHabits, TheHostsOwnStatusReachesTheLogHoweverItTravels) {
    for (const bool deferred : {false, true}) {
        for (const FailKind kind : {FailKind::Exception, FailKind::Status}) {
            SCOPED_TRACE(testing::Message() << deferred << static_cast<int>(kind));
            Connect({.habits = {.deferredExceptions = deferred}});
            OpenAppointment(false);
            Host().FailMember(L"AppointmentItem.MeetingStatus", kind, kForced);
            Log().NewLines();
            AppointmentRibbon().Visible(L"BookMeetingAppointment");
            EXPECT_THAT(Log().NewLines(), Contains("Err AddIn::GetMeetingInfo get_MeetingStatus fail: 0x80040155"));
        }
    }
}
