#include "channel/PayloadCipher.h"

#include "channel/Base64.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <numeric>
#include <vector>

namespace {

TEST(Base64, LengthsThatDoNotFitAreNone) {
    constexpr std::size_t kMost = std::numeric_limits<std::size_t>::max();
    static_assert(Base64::EncodedLength(0) == 0 && Base64::EncodedLength(1) == 4 && Base64::EncodedLength(4) == 8);
    static_assert(Base64::EncodedLength(kMost / 4 * 3) == kMost / 4 * 4);
    static_assert(Base64::EncodedLength(kMost / 4 * 3 + 1) == 0 && Base64::EncodedLength(kMost) == 0);
    const std::uint8_t byte = 0;
    EXPECT_EQ(Base64::Encode(std::span(&byte, kMost)), "") << "refused before a byte is read";
}

std::string FromHex(std::string_view hex) {
    std::string bytes;
    for (std::size_t i = 0; i < hex.size(); i += 2) {
        bytes.push_back(static_cast<char>(std::stoi(std::string(hex.substr(i, 2)), nullptr, 16)));
    }
    return bytes;
}

// Key and vector of NIST SP 800-38A, F.2.5 and F.2.6.
void SetStandardKey(PayloadCipher& cipher) {
    const std::string key = FromHex("603deb1015ca71be2b73aef0857d77811f352c073b6108d72d9810a30914dff4");
    std::array<std::uint8_t, PayloadCipher::kKeyBytes> keyBytes;
    std::copy(key.begin(), key.end(), keyBytes.begin());
    std::array<std::uint8_t, PayloadCipher::kVectorBytes> vector;
    std::iota(vector.begin(), vector.end(), std::uint8_t{0});
    cipher.SetKey(keyBytes, vector);
}

/// The fuzz target tests the results of encryption and the effects of hostile texts.
class Cipher : public testing::Test {
protected:
    Cipher() { SetStandardKey(cipher_); }
    PayloadCipher cipher_;
};

// The padding adds a fifth block.
TEST_F(Cipher, MatchesTheStandardForAes256InCbcMode) {
    const std::string plain = FromHex("6bc1bee22e409f96e93d7e117393172aae2d8a571e03ac9c9eb76fac45af8e51"
                                      "30c81c46a35ce411e5fbc1191a0a52eff69f2445df4f9b17ad2b417be66c3710");
    const std::string expected = FromHex("f58c4c04d6e5f1ba779eabfb5f7bfbd69cfc4e967edb808d679f777bc6702c7d"
                                         "39f23369a9d9bacfa530e26304231461b2eb05e2c39be9fcda6c19078c6a9d1b");
    const std::string whole = Base64::DecodeToString(cipher_.EncryptToString(plain));
    ASSERT_EQ(whole.size(), 80u);
    EXPECT_EQ(whole.substr(0, 64), expected);

    std::string output(200, 'x');
    ASSERT_EQ(cipher_.Decrypt(Base64::Encode(expected), output.data(), 200), PayloadCipher::kSuccess);
    EXPECT_EQ(output, plain + std::string(200 - 64, '\0'));
}

TEST_F(Cipher, SizesAreTheContractsAndNeverWrap) {
    constexpr std::size_t kMost = std::numeric_limits<std::size_t>::max();
    static_assert(PayloadCipher::EncodedSize(0) == 25 && PayloadCipher::EncodedSize(15) == 25);
    static_assert(PayloadCipher::EncodedSize(16) == 45);
    std::string output(64, 'x');
    for (const std::size_t length : {kMost, kMost - 15, kMost - 16, kMost / 2 + 1, kMost / 2}) {
        SCOPED_TRACE(length);
        const std::size_t size = PayloadCipher::EncodedSize(length);
        EXPECT_TRUE(size == 0 || size > length);
        // The length is refused before a byte of the text is read.
        EXPECT_EQ(cipher_.Encrypt({"x", length}, output.data(), 64), PayloadCipher::kFailure);
    }
    EXPECT_EQ(cipher_.Encrypt("x", nullptr, 64), PayloadCipher::kFailure);
    EXPECT_EQ(cipher_.Decrypt("x", nullptr, 64), PayloadCipher::kFailure);
    EXPECT_EQ(output, std::string(64, 'x'));
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
    SetStandardKey(*cipher);
    ASSERT_NE(cipher->EncryptToString("x"), "");
    cipher->~PayloadCipher();
    const volatile std::uint8_t* const left = memory.data();
    EXPECT_TRUE(std::all_of(left, left + memory.size(), [](std::uint8_t byte) { return byte == 0; }));
}

} // namespace
