#include "workbench/client/Meetings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace meeting_client {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

Json::Value Command(int cmd, const std::string& confId = "", const std::string& outlookId = "") {
    return ParseObject(R"({"cmd":)" + std::to_string(cmd) + R"(,"subject":"Plan","confId":")" + confId +
                       R"(","confOutlookId":")" + outlookId +
                       R"(","startTime":1700000000,"endTime":1700003600,"centerX":10,"centerY":20})")
        .value();
}

TEST(MeetingBook, AMeetingIsBookedNamedChangedAndCancelled) {
    MeetingBook book;
    const auto booked = book.Handle(Command(4));
    ASSERT_TRUE(booked);
    EXPECT_EQ((*booked)["notify"], 101);
    EXPECT_EQ((*booked)["subject"], "Plan");
    EXPECT_EQ((*booked)["startTime"], Json::Int64(1'700'000'000));
    const std::string confId = (*booked)["confId"].asString();
    EXPECT_THAT((*booked)["url"].asString(), HasSubstr(confId));
    EXPECT_THAT((*booked)["contents"].asString(), HasSubstr("2023-11-14 22:13 UTC to 2023-11-14 23:13 UTC"));

    EXPECT_EQ((*book.Handle(Command(6, confId, "E1")))["code"], 0);
    const auto changed = book.Change(confId, ParseObject(R"({"subject":"New","endTime":1700007200})").value());
    ASSERT_TRUE(changed);
    EXPECT_EQ((*changed)["notify"], 200);
    EXPECT_EQ((*changed)["confOutlookId"], "E1");
    EXPECT_EQ((*changed)["subject"], "New");
    EXPECT_EQ((*changed)["startTime"], Json::Int64(1'700'000'000));
    EXPECT_EQ((*changed)["endTime"], Json::Int64(1'700'007'200));

    EXPECT_EQ((*book.Handle(Command(5, confId)))["code"], 0);
    EXPECT_EQ((*book.Handle(Command(5, confId)))["notify"], 103);
    EXPECT_NE((*book.Handle(Command(5, confId)))["code"], 0);
    EXPECT_NE((*book.Handle(Command(6, confId)))["code"], 0);
    EXPECT_FALSE(book.Change(confId, Json::Value(Json::objectValue)));
}

TEST(MeetingBook, ACommandWithoutATimeGetsTheNextFullHour) {
    Json::Value command = Command(4);
    command["startTime"] = command["endTime"] = 0;
    const Json::Value booked = MeetingBook().Handle(command).value();
    const std::int64_t start = booked["startTime"].asInt64();
    EXPECT_EQ(start % 3600, 0);
    EXPECT_GT(start, 1'700'000'000);
    EXPECT_EQ(booked["endTime"].asInt64(), start + 3600);
}

TEST(CommandFaults, ExactlyTheEightMembersAreFaultless) {
    Json::Value command = Command(4);
    EXPECT_THAT(CommandFaults(command), IsEmpty());
    command["startTime"] = "1700000000";
    EXPECT_THAT(CommandFaults(command), ElementsAre("command member missing or mistyped: startTime"));
    command = Command(4);
    command["extra"] = 1;
    EXPECT_THAT(CommandFaults(command), ElementsAre("command has members of no meaning"));
    EXPECT_THAT(CommandFaults(Command(7)), ElementsAre("unknown cmd"));
}

} // namespace
} // namespace meeting_client
