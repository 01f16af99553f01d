#include "workbench/verify/soak/MessageFlow.h"

#include <gtest/gtest.h>

#include <sstream>

using verify::MessageFlow;

namespace {

/// "+a" sends a, "?a" sends it without an answer, "-a" gets it. The words of the excuses are their names.
void Play(MessageFlow& flow, const char* words) {
    std::istringstream stream(words);
    for (std::string word; stream >> word;) {
        if (word == "excuse-first") {
            flow.ExcuseFirst();
        } else if (word == "excuse-all") {
            flow.ExcuseAll();
        } else if (word == "excuse-unrecorded") {
            flow.ExcuseUnrecorded();
        } else if (word == "match") {
            flow.Match(true);
        } else if (word.front() == '-') {
            flow.Got(word.substr(1));
        } else {
            flow.Sent(word.substr(1) + "\r\n", word.front() == '?');
        }
    }
}

} // namespace

TEST(MessageFlow, FaultsAreFoundAndOnlyTheExcusedLossesForgiven) {
    const struct {
        const char* name;
        const char* words;
        std::size_t delivered, lost, duplicated, excused, overtaken = 0;
    } cases[] = {
        {"all arrive", "+a +b +c -a -b -c", 3, 0, 0, 0},
        {"one is left out", "+a +b +c -a -c", 2, 1, 0, 0},
        {"one comes twice", "+a +b +c -a -a -b -c", 3, 0, 1, 0},
        {"two change places", "+a +b +c -b -a -c", 3, 0, 0, 0, 1},
        {"a kill excuses no message that was sent and comes late", "+a +b +c excuse-unrecorded -b -a -c", 3, 0, 0, 0,
         1},
        {"a kill excuses either of two with the same text", "+a excuse-first +a +b -a -b", 2, 0, 0, 1},
        {"one that its sender gave up comes all the same", "?a +b -b match -a", 2, 0, 0, 0},
        {"a kill excuses one of two lost", "+a +b +c excuse-first -c", 1, 1, 0, 1},
        {"a hang excuses what was sent before it ended", "+a excuse-all +b", 0, 1, 0, 1},
        {"a killed sender had no time to write one down", "excuse-unrecorded -x -y", 0, 0, 1, 0},
        {"a kill excuses no message that comes twice", "+a excuse-unrecorded -a -a", 1, 0, 1, 0},
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(one.name);
        MessageFlow flow("message");
        Play(flow, one.words);
        flow.GiveUp();
        const MessageFlow::Counts& counts = flow.Count();
        EXPECT_EQ(counts.delivered, one.delivered);
        EXPECT_EQ(counts.lost, one.lost);
        EXPECT_EQ(counts.duplicated, one.duplicated);
        EXPECT_EQ(counts.lostExcused, one.excused);
        EXPECT_EQ(counts.overtaken, one.overtaken);
        EXPECT_EQ(flow.TakeFaults().size(), one.lost + one.duplicated + one.overtaken);
        EXPECT_TRUE(flow.Empty());
    }
}

TEST(MessageFlow, WhatComesAgainAfterTheEndOfARunIsSeen) {
    MessageFlow flow("message");
    Play(flow, "+a -a");
    flow.GiveUp();
    Play(flow, "excuse-unrecorded -a match");
    EXPECT_EQ(flow.Count().duplicated, 1u);
}

TEST(MessageFlow, WhatIsNotJudgedYetWaitsForItsSender) {
    MessageFlow flow("message");
    flow.Got("a");
    flow.Match(false);
    EXPECT_TRUE(flow.Undecided());
    flow.Sent("a");
    flow.Match(false);
    EXPECT_TRUE(flow.Empty());
    EXPECT_EQ(flow.Count().delivered, 1u);
}
