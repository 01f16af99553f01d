#include "channel/Envelope.h"
#include "channel/Segments.h"
#include "channel/Tick.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;

std::vector<std::string> Split(const std::string& message) {
    std::vector<std::string> texts;
    SegmentSplitter splitter(message);
    while (splitter.Next()) {
        EXPECT_EQ(splitter.Text().data()[splitter.Text().size()], '\0');
        texts.emplace_back(splitter.Text());
    }
    return texts;
}

/// A text in which every piece differs from its neighbours.
std::string Pattern(std::size_t length) {
    std::string text(length, '\0');
    for (std::size_t i = 0; i < length; ++i) {
        text[i] = static_cast<char>('a' + (i + i / 1011) % 26);
    }
    return text;
}

TEST(SegmentSplitting, CutsAtTheLimitsOfTheWire) {
    struct Case {
        std::size_t length;
        std::vector<std::size_t> texts; // lengths with the prefix of 12 and, in the last, the end mark of 10
    };
    const Case cases[] = {
        {1024, {1023, 12 + 13 + 10}}, {2022, {1023, 1033}},           {2023, {1023, 1023, 12 + 1 + 10}},
        {3033, {1023, 1023, 1033}},   {3034, {1023, 1023, 1023, 23}},
    };
    EXPECT_FALSE(NeedsSegments(std::string(1023, 'x')));
    for (const Case& c : cases) {
        SCOPED_TRACE(c.length);
        const std::string message = Pattern(c.length);
        EXPECT_TRUE(NeedsSegments(message));
        std::vector<std::size_t> lengths;
        std::string joined;
        for (const std::string& text : Split(message)) {
            lengths.push_back(text.size());
            EXPECT_EQ(text.substr(0, 12), "%pre_nbmsdk%");
            joined += text.substr(12);
        }
        EXPECT_THAT(lengths, ElementsAreArray(c.texts));
        EXPECT_EQ(joined, message + "%end_flag%");
    }
}

TEST(SegmentSplitting, NumbersSkipZeroWhenTheyWrap) {
    SequenceCounter counter(4294967293u);
    EXPECT_EQ(counter.Take(), 4294967294u);
    EXPECT_EQ(counter.Take(), 4294967295u);
    EXPECT_EQ(counter.Take(), 1u);
    EXPECT_EQ(counter.Take(), 2u);
}

TEST(SegmentJoining, KeepsInterleavedMessagesApart) {
    SegmentJoiner joiner;
    EXPECT_EQ(joiner.Add(2, "ab"), std::nullopt);
    EXPECT_EQ(joiner.Add(4294967295u, "12"), std::nullopt);
    EXPECT_EQ(joiner.Add(2, ""), std::nullopt);
    EXPECT_EQ(joiner.Add(2, "cd%end_flag%"), "abcd");
    EXPECT_EQ(joiner.Add(4294967295u, "34%end_flag%"), "1234");
    // The number is free again: nothing of the first message is left.
    EXPECT_EQ(joiner.Add(2, "e%end_flag%"), "e");
}

TEST(SegmentJoining, SurvivesSegmentsNoClientShouldSend) {
    SegmentJoiner joiner;
    EXPECT_EQ(joiner.Add(7, "lonely%end_flag%"), "lonely");
    EXPECT_EQ(joiner.Add(7, "%end_flag%"), std::nullopt) << "a bare end mark is no message";
    EXPECT_EQ(joiner.Add(7, "part"), std::nullopt);
    EXPECT_EQ(joiner.Add(7, "%end_flag%"), "part");
    EXPECT_EQ(joiner.Add(7, "end_flag%"), std::nullopt) << "half a mark is message text";
    EXPECT_EQ(joiner.Add(7, "%end_flag%x"), std::nullopt) << "a mark inside is message text";
    EXPECT_EQ(joiner.Add(7, "y%end_flag%"), "end_flag%%end_flag%xy");
}

TEST(SegmentJoining, BodyIsWhatFollowsThePrefix) {
    EXPECT_EQ(SegmentBody("%pre_nbmsdk%x"), "x");
    for (const char* text : {"", "x", "%pre_nbmsdk%", "%pre_nbmsdk!x", " %pre_nbmsdk%x", "%PRE_NBMSDK%x"}) {
        EXPECT_EQ(SegmentBody(text), std::nullopt) << text;
    }
}

TEST(SegmentJoining, JoinsWhatIsManyThousandSegmentsLong) {
    const std::string message = Pattern(8 << 20);
    SegmentSplitter splitter(message);
    SegmentJoiner joiner;
    std::optional<std::string> joined;
    while (splitter.Next()) {
        ASSERT_EQ(joined, std::nullopt) << "complete before the end";
        joined = joiner.Add(2, *SegmentBody(splitter.Text()));
    }
    EXPECT_TRUE(joined == message);
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
