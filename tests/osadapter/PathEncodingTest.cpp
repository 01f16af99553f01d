#include "osadapter/src/path_encoding.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <string>

namespace {

// Copies of exactly the text's size: a sanitizer sees every byte read or written beyond.
std::u16string Decode(const std::string& text) {
    const std::unique_ptr<char[]> exact(new char[text.size() + 1]);
    std::copy_n(text.c_str(), text.size() + 1, exact.get());
    const size_t count = path_encoding::CountUnits(exact.get());
    const std::unique_ptr<char16_t[]> units(new char16_t[count]);
    return std::u16string(units.get(), path_encoding::DecodeUtf8(exact.get(), units.get(), count));
}

std::string Encode(const std::u16string& text) {
    std::string bytes(path_encoding::CountBytes(text.c_str()), '\0');
    path_encoding::EncodeUtf8(text.c_str(), bytes.data());
    return bytes;
}

TEST(PathEncoding, DecodesByTheLeadByteAlone) {
    const struct {
        const char* text;
        std::u16string units;
    } cases[] = {
        {"", u""},
        {"C:\\\xE4\xBC\x9A", u"C:\\\u4f1a"},
        {"\x80\xBF", u"\u0080\u00bf"},                   // continuation bytes on their own
        {"\xC3\x41", u"\u00c1"},                         // continuation not validated
        {"\xF0\x9F\x98\x80", std::u16string(1, 0xF600)}, // U+1F600 without its high bits
        {"\xF8\x80\x80\x81\x81"
         "b",
         u"Ab"}, // five bytes
        {"\xFC\x80\x80\x80\x81\x81"
         "b",
         std::u16string(1, 0x41) + u"b"},                 // six bytes
        {"a\xC3", std::u16string(u"a") + char16_t(0xC0)}, // cut sequences: missing bits are zero
        {"\xE4\xBC", std::u16string(1, 0x4F00)},
        {"\xFC", std::u16string(1, 0)},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.text);
        EXPECT_EQ(Decode(test.text), test.units);
    }
}

TEST(PathEncoding, RoundTripsEveryUnitSurrogatesIncluded) {
    std::u16string all;
    for (uint32_t unit = 1; unit <= 0xFFFF; ++unit) {
        all.push_back(static_cast<char16_t>(unit));
    }
    EXPECT_EQ(Decode(Encode(all)), all);
    EXPECT_EQ(Encode(u"\u00e9\U0001F600"), "\xC3\xA9\xED\xA0\xBD\xED\xB8\x80");
}

// A second, independent reading of the rules.
std::u16string ModelDecode(const std::string& text) {
    std::u16string units;
    for (size_t at = 0; at < text.size();) {
        const unsigned lead = static_cast<uint8_t>(text[at]);
        const size_t length = lead < 0xC0   ? 1
                              : lead < 0xE0 ? 2
                              : lead < 0xF0 ? 3
                              : lead < 0xF8 ? 4
                              : lead < 0xFC ? 5
                                            : 6;
        constexpr unsigned kMasks[] = {0, 0xFF, 0x1F, 0x0F, 0x07, 0x03, 0x01};
        uint64_t value = lead & kMasks[length];
        for (size_t index = 1; index < length; ++index) {
            value = value * 64 + (at + index < text.size() ? static_cast<uint8_t>(text[at + index]) % 64 : 0);
        }
        units.push_back(static_cast<char16_t>(value % 65536));
        at += length;
    }
    return units;
}

TEST(PathEncoding, AgreesWithAModelOnRandomBytes) {
    std::mt19937 random(20220901);
    for (int round = 0; round < 20000; ++round) {
        std::string text;
        for (size_t left = random() % 12; left > 0; --left) {
            text.push_back(static_cast<char>(random() % 255 + 1));
        }
        // The whole text in the model means that the count never falls short of the decoded units.
        ASSERT_EQ(Decode(text), ModelDecode(text)) << "round " << round;
    }
}

} // namespace
