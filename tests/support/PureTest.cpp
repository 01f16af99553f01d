#include "support/OleTime.h"
#include "support/Rotation.h"

#include <gtest/gtest.h>

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

// The fuzz target carries plans out on names; the log's own suite rotates files.
TEST(RotationNames, GiveTheIndexOfACopyOnly) {
    const struct {
        std::string_view entry;
        uint32_t index;
    } copies[] = {
        {"log.txt", 0},   {"log_1.txt", 1}, {"log_007.bak", 7}, {"log_4294967295.txt", 4294967295u},
        {"abc_2.log", 2}, // the base stands elsewhere
    };
    for (const auto& copy : copies) {
        EXPECT_EQ(RotationIndex(copy.entry, "log.txt", "log"), copy.index) << copy.entry;
    }
    for (const char* const other : {"log_4294967296.txt", "log_0.txt", "log_.txt", "log_1", "log_1x.txt", "log_+1.txt",
                                    "log_1.2.txt", "log-1.txt", "LOG.txt", "log", "other_1.txt"}) {
        EXPECT_EQ(RotationIndex(other, "log.txt", "log"), std::nullopt) << other;
    }
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
