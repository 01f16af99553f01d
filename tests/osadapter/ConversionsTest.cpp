#include "osadapter/include/zep.h"
#include "osadapter/src/path_encoding.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <cstring>
#include <random>
#include <string>

namespace {

template <class Unit>
std::basic_string<Unit> Taken(Unit* text) {
    const std::basic_string<Unit> copy = text == nullptr ? std::basic_string<Unit>(3, '?') : text;
    ZEP_StrMemFree(text);
    return copy;
}

struct BothForms {
    std::wstring wide;
    std::string utf8;

    // Written from the encodings' definitions.
    void Add(uint32_t point) {
        if (point > 0xFFFF) {
            wide += static_cast<wchar_t>(0xD7C0 + (point >> 10));
            wide += static_cast<wchar_t>(0xDC00 + (point & 0x3FF));
        } else {
            wide += static_cast<wchar_t>(point);
        }
        const int tail = point < 0x80 ? 0 : point < 0x800 ? 1 : point < 0x10000 ? 2 : 3;
        constexpr uint32_t kLeads[] = {0, 0xC0, 0xE0, 0xF0};
        utf8 += static_cast<char>(kLeads[tail] + (point >> (6 * tail)));
        for (int left = tail - 1; left >= 0; --left) {
            utf8 += static_cast<char>(0x80 + ((point >> (6 * left)) & 0x3F));
        }
    }
};

TEST(Conversions, CarryRandomTextsBothWays) {
    std::mt19937 random(11);
    for (int round = 0; round < 3000; ++round) {
        BothForms text;
        bool basic = true;
        for (size_t left = random() % 20; left > 0; --left) {
            constexpr uint32_t kLimits[] = {0x80, 0x800, 0x10000, 0x110000};
            const uint32_t point = random() % (kLimits[random() % 4] - 1) + 1;
            if (point < 0xD800 || point > 0xDFFF) {
                text.Add(point);
                basic = basic && point <= 0xFFFF;
            }
        }
        ASSERT_EQ(Taken(ZEP_Utf8ToUnicodeW(text.utf8.c_str())), text.wide);
        ASSERT_EQ(Taken(ZEP_UnicodeToUtf8(text.wide.c_str())), text.utf8);
        char* const bytes = ZEP_Utf8ToUnicodeA(text.utf8.c_str());
        ASSERT_EQ(memcmp(bytes, text.wide.c_str(), (text.wide.size() + 1) * sizeof(wchar_t)), 0);
        ZEP_StrMemFree(bytes);
        if (basic) { // here the paths' own converter and the system's agree
            std::wstring path(path_encoding::CountUnits(text.utf8.c_str()), L'\0');
            path.resize(path_encoding::DecodeUtf8(text.utf8.c_str(), path.data(), path.size()));
            ASSERT_EQ(path, text.wide);
        }
    }
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
    EXPECT_EQ(Taken(ZEP_Utf8ToUnicodeW("a\xFF"
                                       "b")),
              L"a\uFFFDb");
    EXPECT_EQ(Taken(ZEP_Utf8ToUnicodeW("a\xE4\xBC")).substr(0, 2), L"a\uFFFD"); // cut by the terminator
}

} // namespace
