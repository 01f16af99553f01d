#include "osadapter/src/secure_format.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace {

TEST(BoundedFormatting, CutsRefusesOrFitsByItsSizeAndCount) {
    const struct {
        const char* what;
        uint64_t size;
        int64_t count;
        int32_t result;
        const char* content;
    } cases[] = {
        {"fits exactly below size", 8, 5, 5, "abcde"},
        {"cut to the count", 8, 4, -1, "abcd"},
        {"nothing may be written", 8, 0, -1, ""},
        {"truncation asked, fits", 6, -1, 5, "abcde"},
        {"truncation asked, cut", 5, -1, -1, "abcd"},
        {"count equal to size, fits", 6, 6, 5, "abcde"},
        {"count equal to size, refused", 5, 5, -1, ""},
        {"count above size, refused", 3, 100, -1, ""},
        {"size of one", 1, -1, -1, ""},
        {"largest count, fits", 6, 0x7FFFFFFE, 5, "abcde"},
        {"count too large", 8, 0x7FFFFFFF, -1, ""},
        {"count too small", 8, -2, -1, ""},
        {"size too large", 0x80000000u, 5, -1, ""},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.what);
        // Exactly the room that may be written: a sanitizer sees a byte beyond.
        const size_t room = test.size > 100 ? 1 : static_cast<size_t>(test.size);
        const std::unique_ptr<char[]> exact(new char[room]);
        exact[0] = 'x';
        EXPECT_EQ(SecureFormat(exact.get(), test.size, test.count, "%s%c%c", "abc", 'd', 'e'), test.result);
        EXPECT_STREQ(exact.get(), test.content);
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
