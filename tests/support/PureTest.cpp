#include "support/OleTime.h"
#include "support/Rotation.h"

#include <gmock/gmock.h>

using testing::ElementsAre;

namespace {

TEST(RotationNames, AreSplitAtTheLastDot) {
    const auto parts = SplitLogName("a.b.txt");
    ASSERT_TRUE(parts);
    EXPECT_EQ(parts->base, "a.b");
    EXPECT_EQ(parts->extension, ".txt");
    EXPECT_FALSE(SplitLogName("plain"));
    EXPECT_FALSE(SplitLogName(std::string(260, 'x') + ".txt"));
    EXPECT_TRUE(SplitLogName(std::string(259, 'x') + ".txt"));
}

TEST(RotationNames, GiveTheIndexOfACopyOnly) {
    const struct {
        std::string_view entry;
        std::optional<uint32_t> index;
    } cases[] = {
        {"log.txt", 0},
        {"log_1.txt", 1},
        {"log_007.bak", 7},
        {"log_4294967295.txt", 4294967295u},
        {"log_4294967296.txt", std::nullopt},
        {"log_0.txt", std::nullopt},
        {"log_.txt", std::nullopt},
        {"log_1", std::nullopt},
        {"log_1x.txt", std::nullopt},
        {"log_+1.txt", std::nullopt},
        {"log_1.2.txt", std::nullopt},
        {"log-1.txt", std::nullopt},
        {"LOG.txt", std::nullopt},
        {"log", std::nullopt},
        {"other_1.txt", std::nullopt},
        {"abc_2.log", 2}, // the base stands elsewhere
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.entry);
        EXPECT_EQ(RotationIndex(test.entry, "log.txt", "log"), test.index);
    }
}

TEST(RotationPlans, MoveTheOldestFirstAndRemoveTheLastCopy) {
    const std::vector<std::string> entries = {".",         "..",        "log.txt",   "log_1.bak",
                                              "log_2.txt", "log_3.txt", "log_3.bak", "log_9.txt"};
    const RotationPlan plan = PlanRotation(entries, "log.txt", *SplitLogName("log.txt"), 3);
    EXPECT_THAT(plan.removals, ElementsAre("log_3.txt", "log_3.bak"));
    std::string moves;
    for (const RotationRename& rename : plan.renames) {
        moves += rename.from + ">" + rename.to + " ";
    }
    EXPECT_EQ(moves, "log_2.txt>log_3.txt log_1.bak>log_2.txt log.txt>log_1.txt ");
}

TEST(RotationPlans, LeaveOutNamesThatDoNotFitTheirBuffers) {
    const std::string base(254, 'x');
    const RotationPlan plan = PlanRotation({base + ".txt"}, base + ".txt", *SplitLogName(base + ".txt"), 2);
    EXPECT_TRUE(plan.renames.empty()); // the copy's name would take 260 bytes
}

TEST(OleTime, RoundTripsAndRoundsHalvesAwayFromZero) {
    EXPECT_EQ(OleDateFromUnixSeconds(0), 25569.0);
    EXPECT_EQ(OleDateFromUnixSeconds(-86400 * 2), 25567.0);
    for (const int64_t seconds : {0LL, 1LL, -1LL, 1662005180LL, 4102444799LL, -2208988801LL}) {
        EXPECT_EQ(UnixSecondsFromOleDate(OleDateFromUnixSeconds(seconds)), seconds);
    }
    // 1/256 day is 337.5 s and exact in binary.
    EXPECT_EQ(UnixSecondsFromOleDate(25569.0 + 1.0 / 256), 338);
    EXPECT_EQ(UnixSecondsFromOleDate(25569.0 - 1.0 / 256), -338);
}

TEST(OleTime, StaysDefinedForAbsurdDates) {
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    EXPECT_EQ(UnixSecondsFromOleDate(std::numeric_limits<double>::quiet_NaN()), 0);
    EXPECT_EQ(UnixSecondsFromOleDate(kInfinity), INT64_MAX);
    EXPECT_EQ(UnixSecondsFromOleDate(1e300), INT64_MAX);
    EXPECT_EQ(UnixSecondsFromOleDate(-kInfinity), INT64_MIN);
    EXPECT_EQ(UnixSecondsFromOleDate(-1e300), INT64_MIN);
}

} // namespace
