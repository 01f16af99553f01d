#include "tests/Outlook/Life/LifeFixture.h"

namespace {

constexpr int kSyncNow = 4;
constexpr int kLater = 5;

} // namespace

/// Saving a meeting while the client is away.
class SyncQuestion : public LifeFixture {};

TEST_F(SyncQuestion, AsksInTheUsersLanguageAtEachSave) {
    for (const long language : {2052, 1033, 1031}) {
        SCOPED_TRACE(language);
        Connect({.language = language});
        const ItemPtr item = OpenAppointment(true, kKnownMeeting);
        const HWND window = item->OpenedInspector()->Window();
        OpenAppointment(true, kKnownMeeting); // in front of it: not the owner
        Log().NewLines();
        struct Answer {
            int id;
            bool saved;
            size_t launches;
        };
        for (const Answer& answer : {Answer{kLater, true, 0}, Answer{IDCANCEL, false, 0}, Answer{kSyncNow, false, 1},
                                     Answer{kLater, true, 0}}) {
            SCOPED_TRACE(answer.id);
            DialogResponder user(answer.id);
            const unsigned saves = item->SaveCount();
            EXPECT_EQ(item->Save(), answer.saved);
            EXPECT_EQ(item->SaveCount(), saves + answer.saved);
            ASSERT_EQ(user.Seen().size(), 1u);
            const DialogSeen& seen = user.Seen()[0];
            EXPECT_EQ(DialogKind(seen), "sync");
            ExpectDialog(seen, window);
            const std::vector<std::string> lines = Log().NewLines();
            EXPECT_THAT(lines, Contains("Inf AddIn::OnAppointmentItemWrite 1, 0, 0"));
            EXPECT_THAT(lines, Contains("Inf AddIn::OnAppointmentItemWrite id = " + std::to_string(answer.id)));
            EXPECT_EQ(static_cast<size_t>(std::count_if(
                          lines.begin(), lines.end(),
                          [](const std::string& line) { return line.find("ShellExecute fail") != line.npos; })),
                      answer.launches);
        }
    }
}

TEST_F(SyncQuestion, SyncNowReachesAClientThatHasComeUpMeanwhile) {
    ConnectWithClient();
    HideClient();
    const ItemPtr item = OpenAppointment(true, kKnownMeeting);
    const POINT centre = CentreOf(item->OpenedInspector()->Window());
    DialogResponder user(kSyncNow);
    user.whileOpen = [&](const DialogSeen&) { ShowClient(); };
    EXPECT_FALSE(item->Save()) << "the user saves again";
    const std::vector<Json::Value> commands = TakeCommands();
    ASSERT_EQ(commands.size(), 1u);
    EXPECT_EQ(commands[0]["cmd"], 0);
    EXPECT_EQ(commands[0]["confId"], "");
    EXPECT_EQ(commands[0]["confOutlookId"], "");
    EXPECT_EQ(commands[0]["centerX"], Json::Int(centre.x));
    EXPECT_EQ(commands[0]["centerY"], Json::Int(centre.y));
    EXPECT_TRUE(item->Save());
    EXPECT_EQ(user.Seen().size(), 1u) << "no question with the client there";
}

TEST_F(SyncQuestion, RefusedSaveKeepsTheWindowOpen) {
    ConnectWithClient();
    const ItemPtr item = OpenAppointment(false, kNewMeeting);
    HideClient();
    DialogResponder user(std::vector<int>{IDCANCEL, kLater, IDCANCEL});
    EXPECT_FALSE(item->Close(kCloseSave));
    EXPECT_EQ(item->Events().SinkCount(), 1u);
    // "Later" saves, the close goes on, and its modification asks the user to log in.
    EXPECT_TRUE(item->Close(kCloseSave));
    EXPECT_THAT(DialogKinds(user.Seen()), ElementsAre("sync", "sync", "log in"));
    EXPECT_EQ(ParseJson(ToNarrow(item->Comment()))["is_new_item"], false) << "it is told once, even into the void";
    EXPECT_EQ(item->Events().SinkCount(), 0u);
    ShowClient();
    EXPECT_THAT(TakeCommands(), IsEmpty());
}
