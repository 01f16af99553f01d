#include "channel/Envelope.h"
#include "channel/Segments.h"
#include "channel/Tick.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace {

using ::testing::ElementsAre;

// The fuzz target compares splitting and joining with a model.
TEST(SegmentSplitting, NumbersSkipZeroWhenTheyWrap) {
    SequenceCounter counter(4294967293u);
    EXPECT_EQ(counter.Take(), 4294967294u);
    EXPECT_EQ(counter.Take(), 4294967295u);
    EXPECT_EQ(counter.Take(), 1u);
    EXPECT_EQ(counter.Take(), 2u);
}

TEST(EnvelopeLog, PicksEachKeyUpToItsTerminator) {
    const std::string message = "{\"cmd\" : 3,\n\"rps\": [1,2]\n,\"description\":\"%s %n\",\"nty\":9}";
    std::vector<std::string> found;
    for (const EnvelopeKey& key : kEnvelopeKeys) {
        found.emplace_back(FindEnvelope(message, key).value_or("-"));
    }
    EXPECT_THAT(found, ElementsAre("\"cmd\" : 3", "\"description\":\"%s %n\"", "\"rps\": [1,2]", "\"nty\":9}"));
    EXPECT_EQ(FindEnvelope("cmd: 3", kEnvelopeKeys[0]), std::nullopt);
    EXPECT_EQ(FindEnvelope("", kEnvelopeKeys[0]), std::nullopt);
}

TEST(TickClock, ComparesAcrossTheWrap) {
    EXPECT_FALSE(IsTickDue(1020, 1000));
    EXPECT_TRUE(IsTickDue(1021, 1000));
    EXPECT_FALSE(IsTickDue(10, 4294967286u)) << "20 ms across the wrap";
    EXPECT_TRUE(IsTickDue(11, 4294967286u));
}

} // namespace
