#include "workbench/client/Meetings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace meeting_client {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

Json::Value Command(int number) {
    return ParseObject(R"({"cmd":)" + std::to_string(number) +
                       R"(,"subject":"Plan","confId":"","confOutlookId":"","startTime":1700000000,)"
                       R"("endTime":1700003600,"centerX":10,"centerY":20})")
        .value();
}

TEST(MeetingBook, TimesComeFromTheCommandOrAreTheNextFullHour) {
    MeetingBook book;
    Json::Value command = Command(4);
    const Json::Value booked = book.Handle(command).value();
    EXPECT_THAT(booked["contents"].asString(), HasSubstr("2023-11-14 22:13 UTC to 2023-11-14 23:13 UTC"));
    const auto changed = book.Change(booked["confId"].asString(), ParseObject(R"({"endTime":1700007200})").value());
    EXPECT_EQ((*changed)["startTime"], Json::Int64(1'700'000'000));
    EXPECT_EQ((*changed)["endTime"], Json::Int64(1'700'007'200));
    command["startTime"] = command["endTime"] = 0;
    const Json::Value chosen = book.Handle(command).value();
    EXPECT_EQ(chosen["startTime"].asInt64() % 3600, 0);
    EXPECT_GT(chosen["startTime"].asInt64(), 1'700'000'000);
    EXPECT_EQ(chosen["endTime"].asInt64(), chosen["startTime"].asInt64() + 3600);
}

TEST(CommandFaults, ExactlyTheEightMembersAreFaultless) {
    Json::Value command = Command(4);
    EXPECT_THAT(CommandFaults(command), IsEmpty());
    command["extra"] = 1;
    EXPECT_THAT(CommandFaults(command), ElementsAre("command has members of no meaning"));
    command["startTime"] = "1700000000";
    EXPECT_THAT(CommandFaults(command), ElementsAre("command member missing or mistyped: startTime"));
    EXPECT_THAT(CommandFaults(Command(7)), ElementsAre("unknown cmd"));
}

} // namespace
} // namespace meeting_client
