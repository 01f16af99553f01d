#include "osadapter/include/kosa.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <string>

namespace {

std::string Taken(char* text) {
    const std::string copy = text == nullptr ? "(null)" : text;
    KOSA_MemFreeD(text, __LINE__, "test");
    return copy;
}

TEST(AdapterNumbers, UltostrWritesWhatFits) {
    const struct {
        uint32_t value;
        int base;
        uint32_t size;
        int result;
        const char* text; // cut where the room ends
    } cases[] = {
        {4294967295u, 16, 9, 8, "ffffffff"},
        {4294967295u, 10, 11, 10, "4294967295"},
        {4294967295u, 10, 10, -1, "429496729"},
        {4294967295u, 8, 12, 11, "37777777777"},
        {10, 2, 3, 2, "10"},
        {10, 0, 3, 2, "10"}, // another base counts as 10
        {0, 10, 2, 1, "0"},
        {7, 10, 1, -1, ""},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.text);
        const std::unique_ptr<char[]> exact(new char[test.size]); // a sanitizer sees a byte beyond
        EXPECT_EQ(KOSA_Ultostr(exact.get(), test.size, test.value, test.base), test.result);
        EXPECT_STREQ(exact.get(), test.text);
    }
    char untouched = 'j';
    EXPECT_EQ(KOSA_Ultostr(&untouched, 0, 1, 10), -1);
    EXPECT_EQ(untouched, 'j');
    EXPECT_EQ(KOSA_Ultostr(nullptr, 4, 1, 10), -1);
}

TEST(AdapterNumbers, StrToInt32TakesTheWholeRangeAndTellsTheRest) {
    const struct {
        const char* text;
        int32_t value;
    } cases[] = {
        {"2147483647", INT32_MAX},
        {"-2147483648", INT32_MIN},
        {" \t+12abc", 12},
        {"0x10", 16},
        {"010", 8},
        {"08", 0}, // the digit 8 ends the octal number
        {"0x7fffffff", INT32_MAX},
    };
    int32_t value = 0;
    for (const auto& test : cases) {
        SCOPED_TRACE(test.text);
        errno = ERANGE; // left from before: must not be taken for this number's
        EXPECT_EQ(KOSA_StrToInt32(test.text, &value), 0);
        EXPECT_EQ(value, test.value);
        EXPECT_EQ(KOSA_GetLastErr(), ERANGE);
    }
    value = 4711;
    for (const char* const refused : {"2147483648", "-2147483649", "99999999999999999999999",
                                      "-99999999999999999999999", "0x80000000", "", "-", "abc"}) {
        SCOPED_TRACE(testing::PrintToString(refused));
        errno = ERANGE;
        EXPECT_EQ(KOSA_StrToInt32(refused, &value), 1);
        EXPECT_EQ(value, 4711);
        EXPECT_EQ(KOSA_GetLastErr(), 0);
    }
    EXPECT_EQ(KOSA_StrToInt32(nullptr, &value), 1);
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
    const char text[] = "o\xE4no";
    EXPECT_EQ(KOSA_StrChr(text, '\xE4'), text + 1);
    EXPECT_EQ(KOSA_StrrChr(text, 'o'), text + 3);
    EXPECT_EQ(KOSA_StrChr(text, 0), text + 4);
    EXPECT_EQ(KOSA_StrStr(text, "no"), text + 2);
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
