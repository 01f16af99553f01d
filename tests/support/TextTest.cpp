#include "support/Text.h"

#include <gtest/gtest.h>

namespace {

TEST(Text, ConvertsBothWaysAtEveryLength) {
    EXPECT_EQ(ToUtf8(L""), "");
    EXPECT_EQ(ToWide(""), L"");
    // Lengths on both sides of the point where the stack no longer holds the result.
    for (const size_t length : {1u, 169u, 170u, 171u, 511u, 512u, 513u, 5000u}) {
        SCOPED_TRACE(length);
        const std::wstring wide(length, L'\u4f1a');
        std::string narrow;
        for (size_t index = 0; index < length; ++index) {
            narrow += "\xE4\xBC\x9A";
        }
        EXPECT_EQ(ToUtf8(wide), narrow);
        EXPECT_EQ(ToWide(narrow), wide);
        EXPECT_EQ(ToWide(std::string(length, 'a')), std::wstring(length, L'a'));
    }
    EXPECT_EQ(ToUtf8(L"\U0001F600"), "\xF0\x9F\x98\x80");
    EXPECT_EQ(ToWide(std::string_view("a\0b", 3)), std::wstring_view(L"a\0b", 3));
}

TEST(Text, ReplacesWhatIsMalformed) {
    EXPECT_EQ(ToUtf8(L"a\xD83D!"), "a\xEF\xBF\xBD!");
    EXPECT_EQ(ToWide("a\xFF!"), L"a\uFFFD!");
}

} // namespace
