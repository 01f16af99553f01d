#include "channel/PayloadCipher.h"

#include "channel/Base64.h"

#include <gtest/gtest.h>
#include <openssl/evp.h>

#include <algorithm>
#include <memory>
#include <numeric>
#include <random>
#include <vector>

namespace {

using Key = std::array<std::uint8_t, PayloadCipher::kKeyBytes>;
using Vector = std::array<std::uint8_t, PayloadCipher::kVectorBytes>;

std::string FromHex(std::string_view hex) {
    std::string bytes;
    for (std::size_t i = 0; i < hex.size(); i += 2) {
        bytes.push_back(static_cast<char>(std::stoi(std::string(hex.substr(i, 2)), nullptr, 16)));
    }
    return bytes;
}

Key TestKey() {
    Key key;
    std::iota(key.begin(), key.end(), static_cast<std::uint8_t>(0x81));
    return key;
}

Vector TestVector() {
    Vector vector;
    std::iota(vector.begin(), vector.end(), static_cast<std::uint8_t>(0x31));
    return vector;
}

/// An output buffer whose neighbours are watched, filled with junk.
class Output {
public:
    explicit Output(std::size_t size) : size_(size), bytes_(size + 2 * kGuard, kJunk) {}

    char* Data() { return bytes_.data() + kGuard; }
    std::string_view View() { return {Data(), size_}; }
    std::string_view Text() { return View().substr(0, View().find('\0')); }
    bool IsUntouched() { return View().find_first_not_of(kJunk) == std::string_view::npos; }
    bool IsZero() { return View().find_first_not_of('\0') == std::string_view::npos; }
    bool AreNeighboursIntact() {
        const auto isJunk = [](char byte) { return byte == kJunk; };
        return std::all_of(bytes_.begin(), bytes_.begin() + kGuard, isJunk) &&
               std::all_of(bytes_.end() - kGuard, bytes_.end(), isJunk);
    }

private:
    static constexpr std::ptrdiff_t kGuard = 64;
    static constexpr char kJunk = '\x5A';
    std::size_t size_;
    std::vector<char> bytes_;
};

std::string RandomBytes(std::mt19937& random, std::size_t length) {
    std::string bytes(length, '\0');
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<char>(random() & 0xFF); });
    return bytes;
}

/// Decodes a copy of exactly the text's size, so that a sanitizer reports a read beyond it.
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

TEST(Base64, TakesOddButPermittedTexts) {
    using namespace std::string_literals;
    const struct {
        std::string_view text;
        std::string bytes;
    } cases[] = {
        {"", ""},
        {"YWJj", "abc"},
        {"-_+/", "\xFB\xFF\xBF"}, // both alphabets
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

class Cipher : public testing::Test {
protected:
    Cipher() { cipher_.SetKey(TestKey(), TestVector()); }
    PayloadCipher cipher_;
};

// NIST SP 800-38A, F.2.5 and F.2.6. The padding adds a fifth block.
TEST(CipherVectors, MatchTheStandardForAes256InCbcMode) {
    const std::string key = FromHex("603deb1015ca71be2b73aef0857d77811f352c073b6108d72d9810a30914dff4");
    const std::string plain = FromHex("6bc1bee22e409f96e93d7e117393172aae2d8a571e03ac9c9eb76fac45af8e51"
                                      "30c81c46a35ce411e5fbc1191a0a52eff69f2445df4f9b17ad2b417be66c3710");
    const std::string expected = FromHex("f58c4c04d6e5f1ba779eabfb5f7bfbd69cfc4e967edb808d679f777bc6702c7d"
                                         "39f23369a9d9bacfa530e26304231461b2eb05e2c39be9fcda6c19078c6a9d1b");
    Key keyBytes;
    std::copy(key.begin(), key.end(), keyBytes.begin());
    Vector vector;
    std::iota(vector.begin(), vector.end(), std::uint8_t{0});
    PayloadCipher cipher;
    cipher.SetKey(keyBytes, vector);

    const std::string whole = Base64::DecodeToString(cipher.EncryptToString(plain));
    ASSERT_EQ(whole.size(), 80u);
    EXPECT_EQ(whole.substr(0, 64), expected);

    Output output(200);
    ASSERT_EQ(cipher.Decrypt(Base64::Encode(expected), output.Data(), 200), PayloadCipher::kSuccess);
    EXPECT_EQ(output.View(), plain + std::string(200 - 64, '\0'));
}

/// libcrypto's other interface, without padding of its own.
std::string EvpCbc(const std::string& input, bool encrypt) {
    const std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)> context(EVP_CIPHER_CTX_new(),
                                                                                  &EVP_CIPHER_CTX_free);
    const Key key = TestKey();
    const Vector vector = TestVector();
    std::string output(input.size() + 16, '\0');
    int written = 0;
    EXPECT_TRUE(EVP_CipherInit_ex(context.get(), EVP_aes_256_cbc(), nullptr, key.data(), vector.data(), encrypt));
    EVP_CIPHER_CTX_set_padding(context.get(), 0);
    EXPECT_TRUE(EVP_CipherUpdate(context.get(), reinterpret_cast<unsigned char*>(output.data()), &written,
                                 reinterpret_cast<const unsigned char*>(input.data()), static_cast<int>(input.size())));
    output.resize(static_cast<std::size_t>(written));
    return output;
}

TEST_F(Cipher, AgreesWithAPeerAndFitsItsBuffersAtEveryLength) {
    std::mt19937 random(20220901);
    for (std::size_t length = 0; length <= 100; ++length) {
        SCOPED_TRACE(length);
        std::string text(length, '\0');
        std::generate(text.begin(), text.end(), [&] { return static_cast<char>(random() % 255 + 1); });
        const std::size_t size = PayloadCipher::EncodedSize(length);

        Output tooSmall(size - 1);
        EXPECT_EQ(cipher_.Encrypt(text, tooSmall.Data(), size - 1), PayloadCipher::kFailure);
        EXPECT_TRUE(tooSmall.IsUntouched() && tooSmall.AreNeighboursIntact());

        Output encoded(size);
        ASSERT_EQ(cipher_.Encrypt(text, encoded.Data(), size), PayloadCipher::kSuccess);
        EXPECT_TRUE(encoded.AreNeighboursIntact());
        EXPECT_EQ(encoded.Text().size(), size - 1) << "the size asked for is the size needed";
        EXPECT_EQ(cipher_.EncryptToString(text), encoded.Text());
        std::string padded = text;
        padded.resize(PayloadCipher::PaddedSize(length));
        EXPECT_EQ(Base64::DecodeToString(encoded.Text()), EvpCbc(padded, true));

        Output refused(size - 2);
        EXPECT_EQ(cipher_.Decrypt(encoded.Text(), refused.Data(), size - 2), PayloadCipher::kFailure);
        EXPECT_TRUE(refused.IsUntouched() && refused.AreNeighboursIntact());

        Output plain(size - 1);
        ASSERT_EQ(cipher_.Decrypt(encoded.Text(), plain.Data(), size - 1), PayloadCipher::kSuccess);
        EXPECT_TRUE(plain.AreNeighboursIntact());
        EXPECT_EQ(plain.View(), text + std::string(size - 1 - length, '\0'));
    }
}

TEST_F(Cipher, SizesAreTheContractsAndNeverWrap) {
    constexpr std::size_t kMost = std::numeric_limits<std::size_t>::max();
    static_assert(PayloadCipher::EncodedSize(0) == 25 && PayloadCipher::EncodedSize(15) == 25);
    static_assert(PayloadCipher::EncodedSize(16) == 45);
    for (const std::size_t length : {kMost, kMost - 15, kMost - 16, kMost / 2 + 1, kMost / 2}) {
        SCOPED_TRACE(length);
        const std::size_t size = PayloadCipher::EncodedSize(length);
        EXPECT_TRUE(size == 0 || size > length);
        Output output(64);
        // The length is refused before a byte of the text is read.
        EXPECT_EQ(cipher_.Encrypt({"x", length}, output.Data(), 64), PayloadCipher::kFailure);
        EXPECT_TRUE(output.IsUntouched() && output.AreNeighboursIntact());
    }
    EXPECT_EQ(cipher_.Encrypt("x", nullptr, 64), PayloadCipher::kFailure);
    EXPECT_EQ(cipher_.Decrypt("x", nullptr, 64), PayloadCipher::kFailure);
    Output output(64);
    EXPECT_EQ(cipher_.Encrypt("", output.Data(), 0), PayloadCipher::kFailure);
    EXPECT_EQ(cipher_.Decrypt("", output.Data(), 0), PayloadCipher::kFailure);
    EXPECT_TRUE(output.IsUntouched());
}

TEST_F(Cipher, HostileTextsLeaveAZeroOutput) {
    const std::string valid = cipher_.EncryptToString("a text of two blocks");
    std::vector<std::string> texts = {"", "=", "====", "\r\n", "YWJj", std::string(24, '='), std::string(64, '\r')};
    texts.push_back(valid.substr(0, valid.size() - 4)); // not whole blocks
    texts.push_back(valid + "AAAA");
    texts.push_back(valid + "A");
    texts.push_back("!" + valid);
    texts.push_back(valid + std::string(1, '\0'));
    for (const std::string& text : texts) {
        SCOPED_TRACE(text);
        Output output(text.size() + 1);
        EXPECT_EQ(cipher_.Decrypt(text, output.Data(), text.size() + 1), PayloadCipher::kFailure);
        EXPECT_TRUE(output.IsZero() && output.AreNeighboursIntact());
    }
    // Without its padding character, and over lines, it is the same ciphertext.
    for (const std::string& text : {valid.substr(0, valid.find('=')), valid.substr(0, 5) + "\r\n" + valid.substr(5)}) {
        Output output(text.size());
        EXPECT_EQ(cipher_.Decrypt(text, output.Data(), text.size()), PayloadCipher::kSuccess);
        EXPECT_EQ(output.Text(), "a text of two blocks");
    }
}

TEST_F(Cipher, TextMayLieInItsOwnOutput) {
    const std::string text = "longer than one block, so that its pieces overlap";
    const std::size_t size = PayloadCipher::EncodedSize(text.size());
    for (std::size_t at = 0; at + text.size() <= size; ++at) {
        SCOPED_TRACE(at);
        std::vector<char> output(size);
        std::copy(text.begin(), text.end(), output.begin() + static_cast<std::ptrdiff_t>(at));
        ASSERT_EQ(cipher_.Encrypt({output.data() + at, text.size()}, output.data(), size), PayloadCipher::kSuccess);
        EXPECT_EQ(std::string(output.data()), cipher_.EncryptToString(text));
    }
}

TEST_F(Cipher, VectorStaysAndClearForgetsTheKey) {
    const std::string first = cipher_.EncryptToString("same");
    EXPECT_EQ(cipher_.EncryptToString("same"), first);
    cipher_.Clear();
    const PayloadCipher fresh;
    EXPECT_NE(cipher_.EncryptToString("same"), first);
    EXPECT_EQ(cipher_.EncryptToString("same"), fresh.EncryptToString("same"));
    EXPECT_EQ(PayloadCipher::Instance().EncryptToString("same"), fresh.EncryptToString("same"));
}

TEST_F(Cipher, DeadObjectLeavesNoKeyBehind) {
    alignas(PayloadCipher) std::array<std::uint8_t, sizeof(PayloadCipher)> memory{};
    auto* cipher = new (memory.data()) PayloadCipher;
    cipher->SetKey(TestKey(), TestVector());
    ASSERT_NE(cipher->EncryptToString("x"), "");
    cipher->~PayloadCipher();
    const volatile std::uint8_t* left = memory.data();
    for (std::size_t i = 0; i < memory.size(); ++i) {
        ASSERT_EQ(left[i], 0) << "at " << i;
    }
}

} // namespace
