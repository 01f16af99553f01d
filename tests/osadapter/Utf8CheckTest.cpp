#include "osadapter/include/zep.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

// A heap copy of exactly the size: a sanitizer sees a byte read or written beyond.
struct Checked {
    explicit Checked(const std::string& buffer) : bytes(new char[buffer.size()]) {
        memcpy(bytes.get(), buffer.data(), buffer.size());
        result = ZEP_Utf8Check(bytes.get(), static_cast<int32_t>(buffer.size()));
        after.assign(bytes.get(), buffer.size());
    }
    std::unique_ptr<char[]> bytes;
    int result;
    std::string after;
};

TEST(Utf8Check, EndsAFullBufferOnACharacter) {
    using namespace std::string_literals;
    const struct {
        std::string before;
        int result;
        std::string after;
    } cases[] = {
        {"abcde"s, 1, "abcd\0"s},
        {"a"s, 1, "\0"s},
        {"abcd\xC3"s, 1, "abcd\0"s},       // straddles the end
        {"abc\xC3\xA9"s, 1, "abc\0\xA9"s}, // ends with the buffer: no room for the terminator
        {"ab\xC3\xA9"
         "c"s,
         1, "ab\xC3\xA9\0"s}, // a whole character before the last stays
        {"a\xF0\x9F\x98\x80"s, 1, "a\0\x9F\x98\x80"s},
        {"abcd\0"s, 0, "abcd\0"s},
        {"\0abc"s, 0, "\0abc"s},
        {"ab\xFC"s, 1, "ab\0"s},             // six bytes by its lead
        {"\x80\xBF\x80"s, 1, "\x80\xBF\0"s}, // continuation bytes on their own count one each
        {"a\xC3\0b"s, 1, "a\xC3\0\0"s},      // a zero inside a sequence is not looked at
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(testing::PrintToString(test.before));
        const Checked checked(test.before);
        EXPECT_EQ(checked.result, test.result);
        EXPECT_EQ(checked.after, test.after);
    }
    char untouched = 'x';
    EXPECT_EQ(ZEP_Utf8Check(nullptr, 5), 1);
    EXPECT_EQ(ZEP_Utf8Check(&untouched, 0), 1);
    EXPECT_EQ(ZEP_Utf8Check(&untouched, -5), 1);
    EXPECT_EQ(untouched, 'x');
}

// Of a well-formed text cut at any byte, as many whole characters stay as leave room for the terminator.
TEST(Utf8Check, KeepsTheLongestRunOfWholeCharactersOfAnyText) {
    const std::vector<std::string> characters = {"a", "~", "\xC3\xA9", "\xE4\xBC\x9A", "\xF0\x9F\x98\x80"};
    std::mt19937 random(3);
    for (int round = 0; round < 5000; ++round) {
        std::string text;
        std::vector<size_t> starts;
        for (size_t left = random() % 12 + 1; left > 0; --left) {
            starts.push_back(text.size());
            text += characters[random() % characters.size()];
        }
        const size_t size = random() % text.size() + 1;
        const size_t kept = *(std::upper_bound(starts.begin(), starts.end(), size - 1) - 1);
        const Checked checked(text.substr(0, size));
        ASSERT_EQ(checked.result, 1);
        ASSERT_EQ(std::string(checked.after.c_str()), text.substr(0, kept)) << "round " << round;
    }
}

} // namespace
