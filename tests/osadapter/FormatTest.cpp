#include "osadapter/src/secure_format.h"

#include <gtest/gtest.h>

namespace {

// The fuzz target compares what fits and what is cut with a model.
TEST(BoundedFormatting, RefusesSizesAndCountsThatAreTooLarge) {
    const struct {
        const char* what;
        uint64_t size;
        int64_t count;
        int32_t result;
        const char* content;
    } cases[] = {
        {"largest count, fits", 6, 0x7FFFFFFE, 5, "abcde"},
        {"count too large", 8, 0x7FFFFFFF, -1, ""},
        {"count too small", 8, -2, -1, ""},
        {"size too large", 0x80000000u, 5, -1, ""},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.what);
        char text[8] = "x";
        EXPECT_EQ(SecureFormat(text, test.size, test.count, "%s%c%c", "abc", 'd', 'e'), test.result);
        EXPECT_STREQ(text, test.content);
    }
}

TEST(BoundedFormatting, RefusesNullAndFormattingErrors) {
    char text[] = "junk";
    EXPECT_EQ(SecureFormat(text, 0, 0, "a"), -1);
    EXPECT_STREQ(text, "junk");
    EXPECT_EQ(SecureFormat(text, sizeof(text), 4, nullptr), -1);
    EXPECT_STREQ(text, "");
    EXPECT_EQ(SecureFormat(nullptr, 5, 4, "a"), -1);
    EXPECT_EQ(SecureFormat(nullptr, 0, 4, nullptr), -1);
#ifndef _WIN32
    char other[] = "junk";
    EXPECT_EQ(SecureFormat(other, sizeof(other), 4, "a%lc", 0x7FFFFFFF), -1); // no such wide character
    EXPECT_STREQ(other, "");
#endif
}

} // namespace
