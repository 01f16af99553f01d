#include "channel/Segments.h"
#include "channel/Tick.h"

#include <gtest/gtest.h>

#include <optional>

namespace {

// The fuzz target splits messages of every length. MessageTask logs the envelopes.
TEST(SegmentSplitting, NumbersSkipZeroWhenTheyWrap) {
    SequenceCounter counter(4294967293u);
    EXPECT_EQ(counter.Take(), 4294967294u);
    EXPECT_EQ(counter.Take(), 4294967295u);
    EXPECT_EQ(counter.Take(), 1u);
    EXPECT_EQ(counter.Take(), 2u);
}

TEST(SegmentJoining, TakesInterleavedMessagesAndSegmentsNoClientShouldSend) {
    SegmentJoiner joiner;
    EXPECT_EQ(joiner.Add(2, "ab"), std::nullopt);
    EXPECT_EQ(joiner.Add(4294967295u, "12%end_flag%"), "12");
    EXPECT_EQ(joiner.Add(2, "cd%end_flag%"), "abcd");
    EXPECT_EQ(joiner.Add(7, "lonely%end_flag%"), "lonely");
    EXPECT_EQ(joiner.Add(7, "%end_flag%"), std::nullopt) << "a bare end mark is no message";
    EXPECT_EQ(joiner.Add(7, "part"), std::nullopt);
    EXPECT_EQ(joiner.Add(7, "%end_flag%"), "part");
    EXPECT_EQ(joiner.Add(7, "end_flag%"), std::nullopt) << "half a mark is message text";
    EXPECT_EQ(joiner.Add(7, "%end_flag%x"), std::nullopt) << "a mark inside is message text";
    EXPECT_EQ(joiner.Add(7, "y%end_flag%"), "end_flag%%end_flag%xy");
}

TEST(TickClock, ComparesAcrossTheWrap) {
    EXPECT_FALSE(IsTickDue(1020, 1000));
    EXPECT_TRUE(IsTickDue(1021, 1000));
    EXPECT_FALSE(IsTickDue(10, 4294967286u)) << "20 ms across the wrap";
    EXPECT_TRUE(IsTickDue(11, 4294967286u));
}

} // namespace
