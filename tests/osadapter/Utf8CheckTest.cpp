#include "osadapter/include/zep.h"

#include <gtest/gtest.h>

#include <string>

namespace {

// The fuzz target cuts well-formed text everywhere.
TEST(Utf8Check, CountsBytesByTheLeadAlone) {
    using namespace std::string_literals;
    const struct {
        std::string before;
        int result;
        std::string after;
    } cases[] = {
        {"abcd\0"s, 0, "abcd\0"s},           {"\0abc"s, 0, "\0abc"s}, {"ab\xFC"s, 1, "ab\0"s}, // six bytes by its lead
        {"\x80\xBF\x80"s, 1, "\x80\xBF\0"s}, // continuation bytes on their own count one each
        {"a\xC3\0b"s, 1, "a\xC3\0\0"s},      // a zero inside a sequence is not looked at
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(testing::PrintToString(test.before));
        std::string text = test.before;
        EXPECT_EQ(ZEP_Utf8Check(text.data(), static_cast<int32_t>(text.size())), test.result);
        EXPECT_EQ(text, test.after);
    }
    char untouched = 'x';
    EXPECT_EQ(ZEP_Utf8Check(nullptr, 5), 1);
    EXPECT_EQ(ZEP_Utf8Check(&untouched, 0), 1);
    EXPECT_EQ(ZEP_Utf8Check(&untouched, -5), 1);
    EXPECT_EQ(untouched, 'x');
}

} // namespace
