#include "osadapter/include/zep.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <string>

namespace {

template <class Unit>
std::basic_string<Unit> Taken(Unit* text) {
    const std::basic_string<Unit> copy = text == nullptr ? std::basic_string<Unit>(3, '?') : text;
    ZEP_StrMemFree(text);
    return copy;
}

TEST(Conversions, CarryEveryLengthOfSequenceBothWays) {
    const std::wstring wide = L"aé\u07FF\u0800会\uFFFD\U00010000\U0010FFFF";
    const std::string utf8 = "a\xC3\xA9\xDF\xBF\xE0\xA0\x80\xE4\xBC\x9A\xEF\xBF\xBD\xF0\x90\x80\x80\xF4\x8F\xBF\xBF";
    EXPECT_EQ(Taken(ZEP_Utf8ToUnicodeW(utf8.c_str())), wide);
    EXPECT_EQ(Taken(ZEP_UnicodeToUtf8(wide.c_str())), utf8);
    EXPECT_EQ(Taken(reinterpret_cast<wchar_t*>(ZEP_Utf8ToUnicodeA(utf8.c_str()))), wide);
}

TEST(Conversions, KeepWhatTheCodePageCanSay) {
    std::string all;
    for (int byte = 1; byte < 256; ++byte) {
        const std::string one(1, static_cast<char>(byte));
        if (Taken(ZEP_UnicodeToLocale(Taken(ZEP_LocaleToUnicodeW(one.c_str())).c_str())) == one) {
            all += one;
        }
    }
    ASSERT_GE(all.size(), 0x7Fu);
    const std::string utf8 = Taken(ZEP_LocaleToUtf8(all.c_str()));
    EXPECT_EQ(Taken(ZEP_Utf8ToLocale(utf8.c_str())), all);
    EXPECT_EQ(Taken(ZEP_Utf8ToUnicodeW(utf8.c_str())), Taken(ZEP_LocaleToUnicodeW(all.c_str())));
    if (::GetACP() == 1252) {
        EXPECT_EQ(Taken(ZEP_LocaleToUtf8("\xE9\x80")), "\xC3\xA9\xE2\x82\xAC");
        EXPECT_EQ(Taken(ZEP_Utf8ToLocale("\xE4\xBC\x9A!")), "?!");
    }
}

TEST(Conversions, OfAnEmptyTextGiveAnEmptyText) {
    EXPECT_EQ(Taken(ZEP_LocaleToUnicodeW("")), L"");
    EXPECT_EQ(Taken(ZEP_UnicodeToLocale(L"")), "");
    EXPECT_EQ(Taken(ZEP_UnicodeToUtf8(L"")), "");
    EXPECT_EQ(Taken(ZEP_Utf8ToUnicodeW("")), L"");
    EXPECT_EQ(Taken(reinterpret_cast<wchar_t*>(ZEP_Utf8ToUnicodeA(""))), L"");
    EXPECT_EQ(Taken(ZEP_LocaleToUtf8("")), "");
    EXPECT_EQ(Taken(ZEP_Utf8ToLocale("")), "");
}

TEST(Conversions, OfMalformedUtf8StayWithinTheText) {
    EXPECT_EQ(Taken(ZEP_Utf8ToUnicodeW("a\xFF!")), L"a\uFFFD!");
    EXPECT_EQ(Taken(ZEP_Utf8ToUnicodeW("a\xE4\xBC")).substr(0, 2), L"a\uFFFD"); // cut by the terminator
}

} // namespace
