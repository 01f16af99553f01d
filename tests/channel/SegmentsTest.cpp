#include "channel/Segments.h"
#include "channel/Tick.h"

#include <gtest/gtest.h>

namespace {

// The fuzz target compares splitting and joining with a model. MessageTask logs the envelopes.
TEST(SegmentSplitting, NumbersSkipZeroWhenTheyWrap) {
    SequenceCounter counter(4294967293u);
    EXPECT_EQ(counter.Take(), 4294967294u);
    EXPECT_EQ(counter.Take(), 4294967295u);
    EXPECT_EQ(counter.Take(), 1u);
    EXPECT_EQ(counter.Take(), 2u);
}

TEST(TickClock, ComparesAcrossTheWrap) {
    EXPECT_FALSE(IsTickDue(1020, 1000));
    EXPECT_TRUE(IsTickDue(1021, 1000));
    EXPECT_FALSE(IsTickDue(10, 4294967286u)) << "20 ms across the wrap";
    EXPECT_TRUE(IsTickDue(11, 4294967286u));
}

} // namespace
