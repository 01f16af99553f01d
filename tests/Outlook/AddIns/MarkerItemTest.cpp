#include "tests/Outlook/AddIns/AddInFixture.h"

/// The marker in the comment of real (stand-in) appointments.
class MarkerInAppointment : public AddInFixture {};

TEST_F(MarkerInAppointment, WritingKeepsForeignKeysAndReplacesWhatIsNoObject) {
    struct Case {
        std::wstring before;
        const char* after;
    };
    const Case cases[] = {
        {L"", R"({"nbm_flag":true})"},
        {L"free text", R"({"nbm_flag":true})"},
        {L"[1,2]", R"({"nbm_flag":true})"},
        {std::wstring(20'000, L'['), R"({"nbm_flag":true})"},
        {LR"({"nbm_flag":"x","conf_id":"7","z":[null,1.5]})", R"({"nbm_flag":true,"conf_id":"7","z":[null,1.5]})"},
        {L"{\"\x4f1a\":\"\x8bae\",\"nbm_flag\":{}}", "{\"\xe4\xbc\x9a\":\"\xe8\xae\xae\",\"nbm_flag\":true}"},
    };
    ConnectWithClient();
    for (const Case& each : cases) {
        SCOPED_TRACE(each.after);
        const ItemPtr item = OpenAppointment(false, each.before);
        AppointmentRibbon().Press(L"BookMeetingAppointment");
        EXPECT_EQ(ParseJson(ToNarrow(item->Comment())), ParseJson(each.after));
        NextCommand();
    }
}

TEST_F(MarkerInAppointment, AScheduledMeetingSetsItsThreeKeysOneByOne) {
    ConnectWithClient();
    // Closed without saving, the appointment goes back to what was saved last. So it is a saved one, in which only the
    // modify button makes the add-in remember the window.
    const ItemPtr item =
        OpenAppointment(true, LR"({"theirs":{"deep":[1,2]},"nbm_flag":1,"conf_id":"old","is_new_item":false})");
    AppointmentRibbon().Press(L"ModifyMeeetingAppointment");
    NextCommand();
    Host().ResetCalls();
    Notify(R"({"notify":101,"confId":"c-\u4f1a"})");
    EXPECT_EQ(ParseJson(ToNarrow(item->Comment())),
              ParseJson(R"({"theirs":{"deep":[1,2]},"nbm_flag":true,"is_new_item":true,"conf_id":"c-\u4f1a"})"));
    EXPECT_EQ(Host().CountOf(L"FormDescription.put Comment"), 3u);
}
