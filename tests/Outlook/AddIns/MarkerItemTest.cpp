#include "tests/Outlook/AddIns/AddInFixture.h"

using testing::Contains;
using testing::Not;
using testing::StartsWith;
using workbench::ItemPtr;

/// The marker in the comment of real (stand-in) appointments.
class MarkerInAppointment : public AddInFixture {};

TEST_F(MarkerInAppointment, OnlyAReadableObjectIsUnderstoodAndNothingIsOverwrittenByAReading) {
    struct Case {
        const char* name;
        std::wstring comment;
        bool isOurs;
        bool isLogged; // as no item of this add-in
    };
    const Case cases[] = {
        {"nothing", L"", false, false},
        {"flag", LR"({"nbm_flag":true})", true, false},
        {"no flag", LR"({"is_new_item":true})", false, false},
        {"text", L"Bring the nbm_flag \x4f1a", false, true},
        {"array", LR"(["nbm_flag"])", false, false},
        {"lone surrogate", L"\xd800", false, true},
        {"deep arrays", std::wstring(50'000, L'['), false, true},
    };
    Connect();
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        const ItemPtr item = OpenAppointment(true, each.comment);
        for (int look = 0; look < 2; ++look) { // it is logged each time
            Log().NewLines();
            EXPECT_EQ(AppointmentRibbon().Visible(L"CancelMeeetingAppointment"), each.isOurs);
            const auto line = StartsWith("Inf AddIn::GetAppointmentItemComment Not Nembrameeting item. ");
            if (each.isLogged) {
                EXPECT_THAT(Log().NewLines(), Contains(line));
            } else {
                EXPECT_THAT(Log().NewLines(), Not(Contains(line)));
            }
        }
        EXPECT_EQ(item->Comment(), each.comment);
        EXPECT_EQ(Host().CountOf(L"FormDescription.put Comment"), 0u);
    }
}

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
    Connect();
    StartClient();
    for (const Case& each : cases) {
        SCOPED_TRACE(each.after);
        const ItemPtr item = OpenAppointment(false, each.before);
        AppointmentRibbon().Press(L"BookMeetingAppointment");
        EXPECT_EQ(ParseJson(ToNarrow(item->Comment())), ParseJson(each.after));
        NextCommand();
    }
}

TEST_F(MarkerInAppointment, AScheduledMeetingSetsItsThreeKeysOneByOne) {
    Connect();
    StartClient();
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
