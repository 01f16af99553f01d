#include "workbench/verify/hostile/Mutations.h"

#include "Outlook/Business/MeetingJson.h"

#include <gmock/gmock.h>

#include <set>

using testing::SizeIs;
using verify::Mutations;
using verify::Outcome;
using verify::Shot;
using verify::WindowModel;

namespace {

Shot Text(std::uint64_t number, std::string bytes) {
    Shot shot;
    shot.number = number;
    shot.bytes = std::move(bytes);
    return shot;
}

} // namespace

// The run's account of messages stands on this model.
TEST(HostileWindowModel, FollowsTheWireFormat) {
    WindowModel window;
    const struct {
        Shot shot;
        Outcome outcome;
        std::size_t keptAfter;
    } steps[] = {
        {Text(0, ""), Outcome::Dropped, 0},
        {Text(0, std::string("\0{}", 3)), Outcome::Dropped, 0},
        {Text(0, "{}"), Outcome::Complete, 0},
        {Text(0, "NBM_NOTIFY_ID_SDK_DISCONNECTED"), Outcome::Dropped, 0},
        {Text(9, "{}"), Outcome::Dropped, 0},
        {Text(9, "%pre_nbmsdk%"), Outcome::Dropped, 0},
        {Text(9, std::string("%pre_nbmsdk%\0abc", 16)), Outcome::Dropped, 0},
        {Text(9, "%pre_nbmsdk%%end_flag%"), Outcome::Dropped, 0}, // ends nothing
        {Text(9, "%pre_nbmsdk%whole%end_flag%"), Outcome::Complete, 0},
        {Text(9, "%pre_nbmsdk%abc%end_"), Outcome::Kept, 8},
        {Text(9, "%pre_nbmsdk%flag%"), Outcome::Kept, 13}, // the mark only counts in one piece
        {Text(8, "%pre_nbmsdk%other"), Outcome::Kept, 18},
        {Text((std::uint64_t{5} << 32) + 9, "%pre_nbmsdk%%end_flag%"), Outcome::Complete, 5}, // 32 bits count
    };
    for (const auto& step : steps) {
        SCOPED_TRACE(step.shot.bytes);
        EXPECT_EQ(window.Look(step.shot), step.outcome);
        EXPECT_EQ(window.Take(step.shot), step.outcome);
        EXPECT_EQ(window.KeptBytes(), step.keptAfter);
    }
    Shot null = Text(0, "not looked at");
    null.null = true;
    null.claimed = 0xffffffff;
    EXPECT_EQ(window.Take(null), Outcome::Dropped);
}

// A reader that refuses at the first byte would leave nothing to attack behind it.
TEST(HostileNotifications, MostAreReadToTheEnd) {
    verify::Dice dice(3);
    verify::Notifications texts(dice);
    constexpr int kTexts = 2000;
    int read = 0;
    std::set<int> types;
    for (int i = 0; i < kTexts; ++i) {
        NotificationFields fields;
        std::string error;
        if (ReadNotification(i % 8 == 0 ? texts.Honest() : texts.Crooked(), fields, error)) {
            ++read;
            types.insert(fields.type);
        }
    }
    EXPECT_GT(read, kTexts / 2);
    EXPECT_LT(read, kTexts * 9 / 10);
    EXPECT_THAT(types, testing::IsSupersetOf({101, 102, 103, 200, 0, -1, 201}));
}

TEST(HostileMutations, SameSeedGivesTheSameBytes) {
    Mutations first(7);
    Mutations second(7);
    Mutations other(8);
    bool differs = false;
    for (int i = 0; i < 3000; ++i) {
        Outcome outcome = Outcome::Dropped;
        const Shot shot = first.Next(outcome);
        ASSERT_EQ(shot.bytes, second.Next(outcome).bytes) << i;
        differs = differs || shot.bytes != other.Next(outcome).bytes;
    }
    EXPECT_TRUE(differs);
}

// The run limits the data that the add-in would keep or queue without limit, and still contains each kind of shot.
TEST(HostileMutations, StaysBoundedAndLeavesNoKindOut) {
    constexpr std::uint64_t kShots = 100'000;
    Mutations mutations(1);
    std::uint64_t complete = 0;
    std::set<Shot::Kind> kinds;
    std::set<Outcome> outcomes;
    std::set<std::pair<std::uint64_t, bool>> system; // number and whether it is posted
    std::size_t longest = 0;
    bool null = false;
    for (std::uint64_t i = 0; i < kShots; ++i) {
        Outcome outcome = Outcome::Dropped;
        const Shot shot = mutations.Next(outcome);
        complete += outcome == Outcome::Complete ? 1 : 0;
        kinds.insert(shot.kind);
        outcomes.insert(outcome);
        if (shot.IsSystem() && shot.kind == Shot::Kind::ChannelOther) {
            system.insert({shot.number, shot.posted});
        }
        longest = std::max(longest, shot.bytes.size());
        null = null || shot.null;
        ASSERT_LT(mutations.Window().KeptBytes(), Mutations::kMostKept + 16 * 1024);
    }
    EXPECT_LE(complete, kShots / Mutations::kShotsPerMessage);
    EXPECT_GE(complete, kShots / 10);
    EXPECT_THAT(kinds, SizeIs(4));
    EXPECT_THAT(outcomes, SizeIs(3));
    EXPECT_THAT(system, SizeIs(testing::Gt(600u)));
    constexpr std::uint64_t kDestroy = 2;
    constexpr std::uint64_t kNcDestroy = 0x82;
    EXPECT_THAT(system, testing::IsSupersetOf({std::pair(kDestroy, false), std::pair(kDestroy, true),
                                               std::pair(kNcDestroy, false), std::pair(kNcDestroy, true)}));
    EXPECT_GT(longest, 256u * 1024);
    EXPECT_TRUE(null);
}
