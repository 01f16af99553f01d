#include "osadapter/include/kosa.h"

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <memory>
#include <random>
#include <string>

namespace {

std::string Taken(char* text) {
    const std::string copy = text == nullptr ? "(null)" : text;
    KOSA_MemFreeD(text, __LINE__, "test");
    return copy;
}

TEST(AdapterNumbers, UltostrAgreesWithTheStandardLibrary) {
    std::mt19937 random(7);
    for (int round = 0; round < 20000; ++round) {
        const uint32_t value = static_cast<uint32_t>(random()) >> (random() % 32);
        const int base = std::array{8, 10, 16, 2, 0}[random() % 5];
        const uint32_t size = static_cast<uint32_t>(random() % 16);
        char expected[40] = {};
        std::to_chars(expected, expected + sizeof(expected), value, base == 8 || base == 16 ? base : 10);
        const bool fits = strlen(expected) < size;

        const std::unique_ptr<char[]> exact(new char[size + 1]);
        const int result = KOSA_Ultostr(exact.get(), size, value, base);
        ASSERT_EQ(result, fits ? static_cast<int>(strlen(expected)) : -1) << value << " in " << size;
        if (size > 0) {
            ASSERT_EQ(exact.get(), std::string(expected).substr(0, size - 1));
        }
    }
    char large[100];
    EXPECT_EQ(KOSA_Ultostr(large, sizeof(large), 4294967295u, 16), 8);
    EXPECT_STREQ(large, "ffffffff");
    EXPECT_EQ(KOSA_Ultostr(large, 4, 4294967295u, 10), -1);
    EXPECT_EQ(KOSA_Ultostr(nullptr, 4, 1, 10), -1);
}

TEST(AdapterNumbers, StrToInt32TakesTheWholeRangeAndTellsTheRest) {
    constexpr int32_t kJunk = 4711;
    const struct {
        const char* text;
        int result;
        int32_t value;
    } cases[] = {
        {"2147483647", 0, INT32_MAX},
        {"-2147483648", 0, INT32_MIN},
        {"2147483648", 1, kJunk},
        {"-2147483649", 1, kJunk},
        {"99999999999999999999999", 1, kJunk},
        {"-99999999999999999999999", 1, kJunk},
        {" \t+12abc", 0, 12},
        {"0x10", 0, 16},
        {"010", 0, 8},
        {"08", 0, 0}, // the digit 8 ends the octal number
        {"0x7fffffff", 0, INT32_MAX},
        {"0x80000000", 1, kJunk},
        {"", 1, kJunk},
        {"-", 1, kJunk},
        {"abc", 1, kJunk},
        {nullptr, 1, kJunk},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.text == nullptr ? "(null)" : test.text);
        int32_t value = kJunk;
        errno = ERANGE; // left from before: must not be taken for this number's
        EXPECT_EQ(KOSA_StrToInt32(test.text, &value), test.result);
        EXPECT_EQ(value, test.value);
        EXPECT_EQ(KOSA_GetLastErr(), test.result == 0 ? ERANGE : 0);
    }
    EXPECT_EQ(KOSA_StrToInt32("1", nullptr), 1);
}

TEST(AdapterNumbers, AreWrittenIntoElevenBytes) {
    const struct {
        int number;
        const char* text;
    } numbers[] = {{0, "0"}, {INT32_MAX, "2147483647"}, {-999999999, "-999999999"}, {INT32_MIN, "-214748364"}};
    for (const auto& test : numbers) {
        const std::unique_ptr<char[]> exact(new char[11]);
        EXPECT_EQ(KOSA_IntToStr(test.number, exact.get()), exact.get());
        EXPECT_STREQ(exact.get(), test.text);
    }
    const std::unique_ptr<char[]> exact(new char[11]);
    EXPECT_STREQ(KOSA_FloatToStr(-1.5, exact.get()), "-1.500000");
    EXPECT_STREQ(KOSA_FloatToStr(123456.789, exact.get()), "123456.789");
    EXPECT_EQ(KOSA_StrToFloat("2.5e1x"), 25.0);
    char* end = nullptr;
    EXPECT_EQ(KOSA_Strtol("-7f;", &end, 16), -0x7f);
    EXPECT_STREQ(end, ";");
    EXPECT_EQ(KOSA_Strtoul("z", nullptr, 36), 35u);
}

TEST(AdapterTexts, ConcatEndsAtTheFirstNullOrEmptyText) {
    const char* const none = nullptr;
    EXPECT_EQ(Taken(KOSA_StrConcat("a", "", "b", none)), "a");
    EXPECT_EQ(Taken(KOSA_StrConcat("a", "bc", "\xE4\xBC\x9A", none)), "abc\xE4\xBC\x9A");
    EXPECT_EQ(Taken(KOSA_StrConcat("", "b", none)), "b");
    EXPECT_EQ(Taken(KOSA_StrConcat("", none)), "");
    EXPECT_EQ(Taken(KOSA_StrConcat(none, "b", none)), "(null)");
}

TEST(AdapterTexts, AreSearchedByBytes) {
    const char text[] = "b\xE4"
                        "ab";
    EXPECT_EQ(KOSA_StrChr(text, '\xE4'), text + 1);
    EXPECT_EQ(KOSA_StrrChr(text, 'b'), text + 3);
    EXPECT_EQ(KOSA_StrChr(text, 0), text + 4);
    EXPECT_EQ(KOSA_StrStr(text, "ab"), text + 2);
    EXPECT_EQ(KOSA_StrNCmp("abX", "abY", 2), 0);
    EXPECT_EQ(KOSA_CharToUpper('q'), 'Q');
    EXPECT_EQ(KOSA_CharToLower(-28), -28); // a sign-extended byte
    EXPECT_EQ(KOSA_CharToUpper(100000), 100000);
}

TEST(AdapterMemory, IsFilledComparedAndForgotten) {
    void* memory = KOSA_MemMallocS(5, 0x141, __LINE__, "test"); // the low 8 bits are 'A'
    ASSERT_NE(memory, nullptr);
    EXPECT_EQ(KOSA_MemCmp(memory, "AAAAA", 5), 0);
    EXPECT_LT(KOSA_MemCmp(memory, "AAAA\xFF", 5), 0);
    KOSA_MemFreeSetNullD(&memory);
    EXPECT_EQ(memory, nullptr);
    KOSA_MemFreeSetNullD(&memory);
    KOSA_MemFreeSetNullD(nullptr);
    EXPECT_EQ(KOSA_MemAlignD(16, 16, __LINE__, "test"), nullptr);
    int* const place = KOSA_SetLastErr(EACCES);
    EXPECT_EQ(place, &errno);
    EXPECT_EQ(KOSA_GetLastErr(), EACCES);
    EXPECT_STREQ(KOSA_StrError(ENOENT), strerror(ENOENT));
}

} // namespace
