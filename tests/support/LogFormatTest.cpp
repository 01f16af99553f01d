#include "support/LogFormat.h"

#include <gmock/gmock.h>

#include <cstring>
#include <string>

namespace {

// In four bytes the last part would fit, but not the one before it.
TEST(BoundedText, FitsWithItsTerminatorOrNotAtAll) {
    for (const size_t size : {0, 4, 6, 7, 20}) {
        SCOPED_TRACE(size);
        char text[32];
        std::memset(text, '?', sizeof(text));
        BoundedText out(text, size);
        out << "ab" << int64_t{-17} << "!"; // six characters
        EXPECT_EQ(out.Finish(), size > 6 ? 6 : -1);
        if (size > 6) {
            EXPECT_STREQ(text, "ab-17!");
        }
        EXPECT_EQ(text[size], '?') << "written behind the end";
    }
}

TEST(BoundedText, PadsNumbersWithZeroes) {
    char text[32];
    BoundedText out(text, sizeof(text));
    out.Padded(0, 2).Padded(7, 3).Padded(10, 2).Padded(99, 3).Padded(2022, 2);
    EXPECT_EQ(out.Finish(), 14);
    EXPECT_STREQ(text, "00007100992022");
}

TEST(BoundedFormat, TakesAFinishedTextAndAMissingOne) {
    char text[8];
    EXPECT_EQ(FormatBounded(text, sizeof(text), "%s", "1234567"), 7);
    EXPECT_STREQ(text, "1234567");
    EXPECT_EQ(FormatBounded(text, sizeof(text), "%s", "12345678"), -1);
    EXPECT_EQ(FormatBounded(text, sizeof(text), "%s", static_cast<const char*>(nullptr)), 6); // the runtime's "(null)"
}

} // namespace
