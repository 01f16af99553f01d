#include "workbench/verify/hostile/Shots.h"

#include "Outlook/Business/MeetingJson.h"

#include <gmock/gmock.h>

#include <set>

using verify::Outcome;
using verify::Shot;
using verify::Shots;

// The run's account of messages stands on these predictions.
TEST(HostileShots, OutcomesFollowTheWireFormat) {
    const struct {
        std::uint64_t number;
        std::optional<std::string> bytes;
        Outcome outcome;
        std::size_t keptAfter;
    } steps[] = {
        {0, std::nullopt, Outcome::Dropped, 0},
        {0, "", Outcome::Dropped, 0},
        {0, std::string("\0{}", 3), Outcome::Dropped, 0},
        {0, "{}", Outcome::Complete, 0},
        {0, "NBM_NOTIFY_ID_SDK_DISCONNECTED", Outcome::Dropped, 0},
        {9, "{}", Outcome::Dropped, 0},
        {9, "%pre_nbmsdk%", Outcome::Dropped, 0},
        {9, std::string("%pre_nbmsdk%\0abc", 16), Outcome::Dropped, 0},
        {9, "%pre_nbmsdk%%end_flag%", Outcome::Dropped, 0}, // ends nothing
        {9, "%pre_nbmsdk%whole%end_flag%", Outcome::Complete, 0},
        {9, "%pre_nbmsdk%abc%end_", Outcome::Kept, 8},
        {9, "%pre_nbmsdk%flag%", Outcome::Kept, 13}, // the mark only counts in one piece
        {8, "%pre_nbmsdk%other", Outcome::Kept, 18},
        {(std::uint64_t{5} << 32) + 9, "%pre_nbmsdk%%end_flag%", Outcome::Complete, 5}, // 32 bits count
    };
    Shots shots(1);
    for (const auto& step : steps) {
        SCOPED_TRACE(step.bytes.value_or("null"));
        Shot shot;
        shot.number = step.number;
        shot.bytes = step.bytes;
        EXPECT_EQ(shots.Predict(shot), step.outcome);
        EXPECT_EQ(shots.KeptBytes(), step.keptAfter);
    }
}

// A reader that refuses at the first byte would leave nothing to attack behind it.
TEST(HostileShots, MostNotificationsAreReadToTheEnd) {
    Shots shots(3);
    constexpr std::size_t kTexts = 2000;
    std::multiset<int> types; // of those that are read
    for (std::size_t i = 0; i < kTexts; ++i) {
        NotificationFields fields;
        std::string error;
        if (ReadNotification(shots.Notification(i % 8 != 0), fields, error)) {
            types.insert(fields.type);
        }
    }
    EXPECT_GT(types.size(), kTexts / 2);
    EXPECT_LT(types.size(), kTexts * 9 / 10);
    EXPECT_THAT(types, testing::IsSupersetOf({101, 102, 103, 200, 0, -1, 201}));
}

// A seed repeats the run. The run limits the data that the add-in would keep or queue without limit, and still contains
// each kind of shot.
TEST(HostileShots, AreRepeatableAndBoundedAndLeaveNoKindOut) {
    constexpr std::uint64_t kShots = 100'000;
    Shots shots(1);
    Shots same(1);
    std::uint64_t complete = 0;
    std::set<Outcome> outcomes;
    std::set<std::pair<UINT, bool>> system; // to the channel: number and whether it is posted
    std::size_t longest = 0;
    bool null = false, close = false, toNotifyWindow = false;
    for (std::uint64_t i = 0; i < kShots; ++i) {
        const Shot shot = shots.Next();
        ASSERT_TRUE(i > kShots / 30 || shot.bytes == same.Next().bytes) << i;
        complete += shot.outcome == Outcome::Complete ? 1 : 0;
        outcomes.insert(shot.outcome);
        if (shot.IsSystem() && !shot.toNotifyWindow) {
            system.insert({shot.message, shot.posted});
        }
        longest = std::max(longest, shot.Text().size());
        null = null || (shot.message == WM_COPYDATA && !shot.bytes);
        close = close || shot.message == WM_CLOSE;
        toNotifyWindow = toNotifyWindow || (!shot.IsSystem() && shot.toNotifyWindow);
        ASSERT_LT(shots.KeptBytes(), Shots::kMostKept + 16 * 1024);
    }
    EXPECT_LE(complete, kShots / Shots::kShotsPerMessage);
    EXPECT_GE(complete, kShots / 10);
    EXPECT_EQ(outcomes.size(), 3u);
    EXPECT_GT(system.size(), 600u);
    for (const UINT last : {WM_DESTROY, WM_NCDESTROY}) {
        EXPECT_TRUE(system.contains({last, false}) && system.contains({last, true})) << last;
    }
    EXPECT_GT(longest, 256u * 1024);
    EXPECT_TRUE(null && close && toNotifyWindow);
}
