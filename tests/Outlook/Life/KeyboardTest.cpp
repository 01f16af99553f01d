#include "tests/Outlook/Life/LifeFixture.h"

namespace {

constexpr int kSyncNow = 4;
constexpr int kLater = 5;
constexpr int kNoKeyClosesIt = 9; // no button's id

using Keys = std::vector<WPARAM>;

} // namespace

/// The add-in's dialogs, used with the keyboard alone.
class Keyboard : public LifeFixture {
protected:
    /// Presses the keys in the one dialog that `cause` shows. @return whether a key closed it.
    bool Closes(const Keys& keys, const std::string& kind, const std::function<void()>& cause) {
        DialogResponder user(kNoKeyClosesIt);
        user.keys = keys;
        cause();
        EXPECT_TRUE(PumpUntil([&] { return !user.Seen().empty() && FindDialogs().empty(); }, kDeadline));
        EXPECT_EQ(user.Seen().size(), 1u);
        EXPECT_EQ(DialogKind(user.Last()), kind);
        return user.Last().answer == 0;
    }
};

TEST_F(Keyboard, AnswersTheSyncQuestion) {
    const std::pair<Keys, int> cases[] = {
        {{VK_ESCAPE}, IDCANCEL},
        {{VK_TAB, VK_ESCAPE}, IDCANCEL},
        {{VK_RETURN}, kSyncNow},
        {{VK_SPACE}, kSyncNow},
        {{VK_TAB, VK_RETURN}, kLater},
        {{VK_TAB, VK_SPACE}, kLater},
        {{VK_TAB, VK_TAB, VK_RETURN}, kSyncNow},
        {{VK_RIGHT, VK_RETURN}, kLater},
        {{VK_LEFT, VK_RETURN}, kLater},
        {{VK_DOWN, VK_RETURN}, kLater},
        {{VK_UP, VK_RETURN}, kLater},
        {{VK_RIGHT, VK_LEFT, VK_RETURN}, kSyncNow},
        {{VK_DOWN, VK_UP, VK_SPACE}, kSyncNow},
    };
    for (const long language : {2052, 1033}) {
        Connect({.language = language});
        const ItemPtr item = OpenAppointment(true, kKnownMeeting);
        for (const auto& [keys, result] : cases) {
            SCOPED_TRACE(testing::Message() << language << " keys " << testing::PrintToString(keys));
            Log().NewLines();
            bool saved = false;
            EXPECT_TRUE(Closes(keys, "sync", [&] { saved = item->Save(); }));
            EXPECT_EQ(saved, result == kLater);
            EXPECT_THAT(Log().NewLines(), Contains("Inf AddIn::OnAppointmentItemWrite id = " + std::to_string(result)));
        }
    }
}

TEST_F(Keyboard, ClosesTheNotices) {
    const std::pair<Keys, bool> cases[] = {
        {{VK_ESCAPE}, true},
        {{VK_RETURN}, true},
        {{VK_TAB, VK_RIGHT, VK_DOWN, VK_RETURN}, true},
        {{VK_TAB, VK_LEFT, VK_UP, VK_ESCAPE}, true},
        {{VK_TAB, VK_SPACE}, false}, // no button is shown that it could press
    };
    for (const long language : {2052, 1033}) {
        ConnectWithClient({.language = language});
        const ItemPtr item = OpenAppointment(true, kKnownMeeting);
        const std::string updated = language == 2052 ? "邮件邀请已更新。" : "Email invitation updated.";
        const std::string changed = R"({"notify":200,"confOutlookId":")" + ToNarrow(item->EntryId()) + "\"}";
        for (const auto& [keys, closes] : cases) {
            SCOPED_TRACE(testing::Message() << language << " keys " << testing::PrintToString(keys));
            EXPECT_EQ(Closes(keys, updated, [&] { Notify(changed); }), closes);
        }
        StopClient();
        for (const auto& [keys, closes] : cases) {
            SCOPED_TRACE(testing::Message() << language << " keys " << testing::PrintToString(keys));
            EXPECT_EQ(Closes(keys, "log in", [&] { ExplorerRibbon().Press(L"StartMeetingMail"); }), closes);
        }
    }
}
