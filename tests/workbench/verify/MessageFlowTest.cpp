#include "workbench/verify/soak/MessageFlow.h"

#include <gtest/gtest.h>

#include <functional>

using verify::MessageFlow;

namespace {

struct Case {
    const char* name;
    std::function<void(MessageFlow&)> happens;
    std::size_t delivered, lost, duplicated, excused, overtaken = 0;
};

} // namespace

TEST(MessageFlow, FaultsAreFoundAndOnlyTheExcusedLossesForgiven) {
    const auto send = [](MessageFlow& flow) {
        for (const char* text : {"a", "b", "c"}) {
            flow.Sent(text);
        }
    };
    const Case cases[] = {
        {"all arrive",
         [&](MessageFlow& flow) {
             send(flow);
             for (const char* text : {"a", "b\r\n", "c"}) {
                 flow.Got(text);
             }
         },
         3, 0, 0, 0},
        {"one is left out",
         [&](MessageFlow& flow) {
             send(flow);
             flow.Got("a");
             flow.Got("c");
         },
         2, 1, 0, 0},
        {"one comes twice",
         [&](MessageFlow& flow) {
             send(flow);
             for (const char* text : {"a", "a", "b", "c"}) {
                 flow.Got(text);
             }
         },
         3, 0, 1, 0},
        {"two change places",
         [&](MessageFlow& flow) {
             send(flow);
             for (const char* text : {"b", "a", "c"}) {
                 flow.Got(text);
             }
         },
         3, 0, 0, 0, 1},
        {"a kill excuses no message that was sent and comes late",
         [&](MessageFlow& flow) {
             send(flow);
             flow.ExcuseUnrecorded();
             for (const char* text : {"b", "a", "c"}) {
                 flow.Got(text);
             }
         },
         3, 0, 0, 0, 1},
        {"a kill excuses either of two with the same text",
         [&](MessageFlow& flow) {
             flow.Sent("a");
             flow.ExcuseFirst();
             flow.Sent("a");
             flow.Sent("b");
             flow.Got("a");
             flow.Got("b");
         },
         2, 0, 0, 1},
        {"one that its sender gave up comes all the same",
         [&](MessageFlow& flow) {
             flow.Sent("a", true);
             flow.Sent("b");
             flow.Got("b");
             flow.Match(true);
             flow.Got("a");
         },
         2, 0, 0, 0},
        {"a kill excuses one of two lost",
         [&](MessageFlow& flow) {
             send(flow);
             flow.ExcuseFirst();
             flow.Got("c");
         },
         1, 1, 0, 1},
        {"a hang excuses what was sent before it ended",
         [&](MessageFlow& flow) {
             flow.Sent("a");
             flow.ExcuseAll();
             flow.Sent("b");
         },
         0, 1, 0, 1},
        {"a killed sender had no time to write one down",
         [&](MessageFlow& flow) {
             flow.ExcuseUnrecorded();
             flow.Got("x");
             flow.Got("y");
         },
         0, 0, 1, 0},
        {"a kill excuses no message that comes twice",
         [&](MessageFlow& flow) {
             flow.Sent("a");
             flow.ExcuseUnrecorded();
             flow.Got("a");
             flow.Got("a");
         },
         1, 0, 1, 0},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(one.name);
        MessageFlow flow("message");
        one.happens(flow);
        flow.GiveUp();
        EXPECT_EQ(flow.Delivered(), one.delivered);
        EXPECT_EQ(flow.Lost(), one.lost);
        EXPECT_EQ(flow.Duplicated(), one.duplicated);
        EXPECT_EQ(flow.LostExcused(), one.excused);
        EXPECT_EQ(flow.Overtaken(), one.overtaken);
        EXPECT_EQ(flow.TakeFaults().size(), one.lost + one.duplicated + one.overtaken);
        EXPECT_EQ(flow.Unrecorded(), flow.Forgiven().size());
    }
}

TEST(MessageFlow, WhatIsNotJudgedYetWaitsForItsSender) {
    MessageFlow flow("message");
    flow.Got("a");
    flow.Match(false);
    EXPECT_FALSE(flow.Empty());
    EXPECT_TRUE(flow.Undecided());
    flow.Sent("a");
    flow.Match(false);
    EXPECT_TRUE(flow.Empty());
    EXPECT_EQ(flow.Delivered(), 1u);
}
