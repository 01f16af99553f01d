#include "Outlook/Business/MeetingJson.h"

#include <gmock/gmock.h>

#include <limits>
#include <string>

namespace {

using ::testing::StartsWith;

struct Reading {
    bool accepted = false;
    NotificationFields fields;
    std::string error;
};

Reading Read(const std::string& text) {
    Reading reading;
    reading.fields.type = -7; // junk that a refusal must leave and an acceptance must replace
    reading.fields.code = -7;
    reading.accepted = ReadNotification(text, reading.fields, reading.error);
    return reading;
}

TEST(NotificationText, PassesOverMissingAndMistypedMembers) {
    for (const char* members :
         {"", R"(,"confId":1,"confOutlookId":null,"contents":{},"url":[],"subject":true,"message":2.5)",
          R"(,"startTime":"1","endTime":9223372036854775808,"code":2147483648)",
          R"(,"startTime":-9223372036854777856,"endTime":1.5,"code":"0")"}) {
        SCOPED_TRACE(members);
        const Reading reading = Read(std::string(R"({"notify":200)") + members + "}");
        ASSERT_TRUE(reading.accepted) << reading.error;
        const NotificationFields& fields = reading.fields;
        EXPECT_EQ(fields.type, 200);
        EXPECT_EQ(fields.confId + fields.confOutlookId + fields.contents + fields.url + fields.subject + fields.message,
                  "");
        EXPECT_EQ(fields.startTime, 0);
        EXPECT_EQ(fields.endTime, 0);
        EXPECT_EQ(fields.code, 0);
    }
}

TEST(NotificationText, NeedsA32BitIntegerType) {
    for (const char* text :
         {"{}", R"({"notify":"101"})", R"({"notify":2147483648})", R"({"notify":-2147483649})", R"({"notify":1.5})",
          R"({"notify":null})", R"({"Notify":101})", "[]", "[101]", "null", "101", "\"notify\"", "true"}) {
        SCOPED_TRACE(text);
        const Reading reading = Read(text);
        EXPECT_FALSE(reading.accepted);
        EXPECT_EQ(reading.error, "Non command or invalid type.");
        EXPECT_EQ(reading.fields.type, -7);
    }
    EXPECT_EQ(Read(R"({"notify":2147483647})").fields.type, 2147483647);
    EXPECT_EQ(Read(R"({"notify":-2147483648})").fields.type, std::numeric_limits<int32_t>::min());
}

TEST(NotificationText, RefusalsOfTheReaderAreReported) {
    for (const std::string& text :
         {std::string("{"), std::string(R"({"a":"\ud800"})"), std::string(1, '\0'), std::string(100000, '[')}) {
        SCOPED_TRACE(text.substr(0, 40));
        const Reading reading = Read(text);
        EXPECT_FALSE(reading.accepted);
        EXPECT_THAT(reading.error, StartsWith("parse msg fail: "));
        EXPECT_GT(reading.error.size(), std::string("parse msg fail: ").size());
        EXPECT_EQ(reading.fields.type, -7);
    }
}

} // namespace
