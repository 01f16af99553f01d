#include "Outlook/AddIns/Marker.h"
#include "support/OleTime.h"
#include "support/WindowCentre.h"

#include <gmock/gmock.h>

#include <limits>
#include <string>

using testing::IsEmpty;
using testing::Not;

TEST(MarkerText, OnlyAnObjectWithTheFlagMakesAMeetingItem) {
    struct Case {
        const char* text;
        bool isRead;
        bool hasFlag;
    };
    const Case cases[] = {
        {R"({"nbm_flag":true})", true, true},
        {R"({"nbm_flag":false,"other":1})", true, true}, // presence alone counts
        {R"({"nbm_flag":null})", true, true},
        {R"({"is_new_item":true})", true, false},
        {"{}", true, false},
        {"call me about the nbm_flag", false, false},
        {R"({"nbm_flag":)", false, false},
        {R"(["nbm_flag"])", true, false}, // JSON, but nothing that a key can be in
        {R"("nbm_flag")", true, false},
        {"42", true, false},
        {"null", true, false},
        {"", false, false},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.text);
        Json::Value marker = "left over";
        std::string error;
        EXPECT_EQ(Marker::Parse(each.text, marker, error), each.isRead);
        const bool isObject = each.isRead && each.text[0] == '{';
        EXPECT_EQ(marker.isObject(), isObject);
        EXPECT_EQ(marker.isNull(), !isObject);
        EXPECT_EQ(Marker::HasFlag(marker), each.hasFlag);
        if (!each.isRead) {
            EXPECT_THAT(error, Not(IsEmpty()));
        }
    }
}

TEST(MarkerText, MistypedMembersCountAsAbsent) {
    Json::Value marker;
    std::string error;
    ASSERT_TRUE(Marker::Parse(R"({"is_new_item":"yes","conf_id":["7"]})", marker, error));
    EXPECT_TRUE(Marker::IsNewItem(marker, true));
    EXPECT_FALSE(Marker::IsNewItem(marker, false));
    EXPECT_EQ(Marker::ConfId(marker), "");
    EXPECT_TRUE(Marker::IsNewItem(Json::Value(), true));
}

TEST(WindowCentre, AnOddWidthFallsOnTheLowerCoordinate) {
    EXPECT_EQ(Centre(0, 101), 50);
    EXPECT_EQ(Centre(-101, 0), -51); // from the left edge on, not from zero
    EXPECT_EQ(Centre(-3, 2), -1);
    EXPECT_EQ(Centre(10, 10), 10);
    EXPECT_EQ(Centre(std::numeric_limits<int32_t>::min(), std::numeric_limits<int32_t>::max()), -1);
}
