#include "channel/Base64.h"

#include <gtest/gtest.h>
#include <openssl/evp.h>

#include <algorithm>
#include <memory>
#include <random>

namespace {

std::string RandomBytes(std::mt19937& random, std::size_t length) {
    std::string bytes(length, '\0');
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<char>(random() & 0xFF); });
    return bytes;
}

/// Decodes a copy of exactly the text's size, so that a sanitizer sees a byte read beyond it.
std::string DecodeExact(std::string_view text) {
    const std::unique_ptr<char[]> exact(new char[text.size()]);
    std::copy(text.begin(), text.end(), exact.get());
    return Base64::DecodeToString({exact.get(), text.size()});
}

TEST(Base64, AgreesWithLibcryptoBothWays) {
    std::mt19937 random(20220901);
    for (std::size_t length = 0; length < 200; ++length) {
        SCOPED_TRACE(length);
        const std::string bytes = RandomBytes(random, length);
        std::string expected(Base64::EncodedLength(length) + 1, '\0');
        const int written =
            EVP_EncodeBlock(reinterpret_cast<unsigned char*>(expected.data()),
                            reinterpret_cast<const unsigned char*>(bytes.data()), static_cast<int>(length));
        ASSERT_EQ(static_cast<std::size_t>(written), Base64::EncodedLength(length));
        expected.resize(static_cast<std::size_t>(written));
        EXPECT_EQ(Base64::Encode(bytes), expected);
        EXPECT_EQ(DecodeExact(expected), bytes);

        // Any group of four characters of the alphabet, not only those that an encoder writes.
        std::string text = Base64::Encode(RandomBytes(random, length * 3));
        std::string peer(text.size() / 4 * 3, '\0');
        EVP_DecodeBlock(reinterpret_cast<unsigned char*>(peer.data()),
                        reinterpret_cast<const unsigned char*>(text.data()), static_cast<int>(text.size()));
        EXPECT_EQ(DecodeExact(text), peer);
    }
}

TEST(Base64, ReadsTheUrlSafeAlphabetAsTheStandardOne) {
    std::string standard = "+/+/ab+/";
    std::string urlSafe = "-_-_ab-_";
    EXPECT_EQ(DecodeExact(urlSafe), DecodeExact(standard));
    EXPECT_EQ(DecodeExact("-/+_"), "\xFB\xFF\xBF");
}

TEST(Base64, TakesOddButPermittedTexts) {
    using namespace std::string_literals;
    const struct {
        std::string_view text;
        std::string bytes;
    } cases[] = {
        {"", ""},
        {"YWJj", "abc"},
        {"YWI=", "ab"},
        {"YQ==", "a"},
        {"YWI", "ab"}, // unpadded, as URL-safe texts usually are
        {"YQ", "a"},
        {"YWJjY", ""}, // cut within a byte
        {"Y", ""},
        {"YQ==YWI=YWJj", "aababc"}, // joined texts
        {"Y===", "\x60"},
        {"====", "\0"s},
        {"=", ""},
        {"Y=Jj", "\x60\x02\x63"}, // zero bits inside a group
        {"YQ=j", "a\0\x23"s},
        {"\r\nYW\r\nJ\nj\r", "abc"},
        {"\r\n", ""},
        {"Y\r\n\r\n", ""},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.text);
        EXPECT_EQ(DecodeExact(test.text), test.bytes);
    }
}

TEST(Base64, WholeGroupsAndOddCharactersMayAlternate) {
    const std::string bytes = "these bytes fill ten groups...";
    const std::string text = Base64::Encode(bytes);
    for (std::size_t place = 0; place <= text.size(); ++place) {
        SCOPED_TRACE(place);
        std::string odd = text;
        odd.insert(place, "\r\n");
        EXPECT_EQ(DecodeExact(odd), bytes);
        odd.insert(place, "!");
        EXPECT_EQ(DecodeExact(odd), "");
        // A padded group in between leaves the rest where it was.
        const std::size_t group = place / 4 * 4;
        odd = text;
        odd.insert(group, "YQ==");
        EXPECT_EQ(DecodeExact(odd), bytes.substr(0, group / 4 * 3) + "a" + bytes.substr(group / 4 * 3));
    }
}

TEST(Base64, EncodesBytesFromTheEndOfItsOwnOutput) {
    std::mt19937 random(20220901);
    for (std::size_t length = 0; length < 100; ++length) {
        SCOPED_TRACE(length);
        const std::string bytes = RandomBytes(random, length);
        std::string text(Base64::EncodedLength(length) - length, '\0');
        text += bytes;
        const auto* const tail = reinterpret_cast<const std::uint8_t*>(text.data() + text.size() - length);
        EXPECT_EQ(Base64::EncodeTo({tail, length}, text.data()), text.data() + text.size());
        EXPECT_EQ(text, Base64::Encode(bytes));
    }
}

TEST(Base64, RefusesEveryOtherCharacterInEveryPlace) {
    constexpr std::string_view kPermitted = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/-_=\r\n";
    for (int code = 0; code < 256; ++code) {
        const char character = static_cast<char>(code);
        const bool permitted = kPermitted.find(character) != std::string_view::npos;
        for (std::size_t place = 0; place < 8; ++place) {
            std::string text = "YWJjYWJj";
            text[place] = character;
            const bool skipped = character == '\r' || character == '\n';
            EXPECT_EQ(DecodeExact(text).size(), !permitted                      ? 0u
                                                : skipped                       ? 5u
                                                : place % 4 == 3 && code == '=' ? 5u
                                                                                : 6u)
                << "code " << code << " at " << place;
        }
    }
}

TEST(Base64, LengthsThatDoNotFitAreNone) {
    constexpr std::size_t kMost = std::numeric_limits<std::size_t>::max();
    static_assert(Base64::EncodedLength(0) == 0 && Base64::EncodedLength(1) == 4 && Base64::EncodedLength(4) == 8);
    static_assert(Base64::EncodedLength(kMost / 4 * 3) == kMost / 4 * 4);
    static_assert(Base64::EncodedLength(kMost / 4 * 3 + 1) == 0 && Base64::EncodedLength(kMost) == 0);
    const std::uint8_t byte = 0;
    EXPECT_EQ(Base64::Encode(std::span(&byte, kMost)), "") << "refused before a byte is read";
}

} // namespace
