#include "bench/Parts.h"
#include "channel/Base64.h"
#include "channel/PayloadCipher.h"

// As the cipher itself does: the bare block functions.
#define OPENSSL_API_COMPAT 0x10100000L
#include <openssl/aes.h>
#include <openssl/evp.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <memory>
#include <random>
#include <vector>

namespace bench {
namespace {

constexpr Aim kEncodingAim = Aim::AtMostTimes(1); // not slower than libcrypto's
constexpr Aim kCipherAim = Aim::AtMostTimes(1.1);

using Bytes = std::vector<std::uint8_t>;

struct Size {
    const char* name;
    std::size_t bytes;
    int calls; // per sample
};
constexpr Size kSizes[] = {{"4 KiB", 4096, 200}, {"1 MiB", 1 << 20, 2}};

constexpr std::array<std::uint8_t, PayloadCipher::kKeyBytes> kKey = {1, 2, 3};
constexpr std::array<std::uint8_t, PayloadCipher::kVectorBytes> kVector = {4, 5, 6};

struct RuntimeFree {
    void operator()(void* memory) const noexcept { std::free(memory); }
};
using BareBytes = std::unique_ptr<std::uint8_t[], RuntimeFree>;

/// A buffer that nobody has filled yet, as the caller of a block function would get himself.
BareBytes NewBytes(std::size_t size) {
    BareBytes bytes(static_cast<std::uint8_t*>(std::malloc(size)));
    Require(bytes != nullptr, "no memory");
    return bytes;
}

Bytes RandomBytes(std::size_t size) {
    std::mt19937 random(1);
    Bytes bytes(size);
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<std::uint8_t>(random()); });
    return bytes;
}

int BareEncode(const Bytes& bytes, std::uint8_t* text) {
    return EVP_EncodeBlock(text, bytes.data(), static_cast<int>(bytes.size()));
}

int BareDecode(const std::string& text, std::uint8_t* bytes) {
    return EVP_DecodeBlock(bytes, reinterpret_cast<const std::uint8_t*>(text.data()), static_cast<int>(text.size()));
}

void MeasureBase64(const Effort& effort, const Size& size) {
    const int samples = effort.Of(15, 7);
    const Bytes bytes = RandomBytes(size.bytes);
    const std::string text = Base64::Encode(bytes);
    Report(Compare(
        std::string("base64 encode, ") + size.name, "EVP_EncodeBlock, malloc", samples, size.calls,
        [&] { Require(Base64::Encode(bytes).size() == text.size(), "the encoder fails"); },
        [&] {
            const BareBytes output = NewBytes(text.size() + 1);
            Require(BareEncode(bytes, output.get()) > 0, "the bare encoder fails");
        },
        kEncodingAim));
    Report(Compare(
        std::string("base64 decode, ") + size.name, "EVP_DecodeBlock, malloc", samples, size.calls,
        [&] { Require(Base64::Decode(text).size() == bytes.size(), "the decoder fails"); },
        [&] {
            const BareBytes output = NewBytes(text.size() / 4 * 3);
            Require(BareDecode(text, output.get()) > 0, "the bare decoder fails");
        },
        kEncodingAim));
}

/// The mode over whole blocks, the key expanded first as for every text.
void BareRun(const std::uint8_t* in, std::uint8_t* out, std::size_t bytes, int direction) {
    AES_KEY schedule;
    auto vector = kVector;
    const int bits = static_cast<int>(kKey.size() * 8);
    const int status = direction == AES_ENCRYPT ? AES_set_encrypt_key(kKey.data(), bits, &schedule)
                                                : AES_set_decrypt_key(kKey.data(), bits, &schedule);
    Require(status == 0, "the bare key fails");
    AES_cbc_encrypt(in, out, bytes, &schedule, vector.data(), direction);
}

/// The floor works on buffers that are there, and its text is padded beforehand.
void MeasureTexts(const Effort& effort, const Size& size) {
    const int samples = effort.Of(15, 7);
    const std::string text(size.bytes, 'x');
    Bytes padded(PayloadCipher::PaddedSize(text.size()));
    std::copy(text.begin(), text.end(), padded.begin());
    Bytes scratch(padded.size() + 2); // the bare decoder writes whole groups of three
    Bytes output(PayloadCipher::EncodedSize(text.size()));
    auto* const outputText = reinterpret_cast<char*>(output.data());

    PayloadCipher cipher;
    cipher.SetKey(kKey, kVector);
    const std::string encoded = cipher.EncryptToString(text);
    Report(Compare(
        std::string("cipher encrypt, ") + size.name, "AES_cbc_encrypt, EVP_EncodeBlock", samples, size.calls,
        [&] { Require(cipher.Encrypt(text, outputText, output.size()) == PayloadCipher::kSuccess, "Encrypt fails"); },
        [&] {
            BareRun(padded.data(), scratch.data(), padded.size(), AES_ENCRYPT);
            EVP_EncodeBlock(output.data(), scratch.data(), static_cast<int>(padded.size()));
        },
        kCipherAim));
    Require(encoded == outputText, "the cipher and its floor differ");
    Report(Compare(
        std::string("cipher decrypt, ") + size.name, "EVP_DecodeBlock, AES_cbc_encrypt", samples, size.calls,
        [&] {
            Require(cipher.Decrypt(encoded, outputText, output.size()) == PayloadCipher::kSuccess, "Decrypt fails");
        },
        [&] {
            Require(BareDecode(encoded, scratch.data()) > 0, "the bare decoder fails");
            BareRun(scratch.data(), output.data(), padded.size(), AES_DECRYPT);
        },
        kCipherAim));
    Require(text == outputText, "the text does not come back");
}

} // namespace

void MeasureCipher(const Effort& effort) {
    for (const Size& size : kSizes) {
        MeasureBase64(effort, size);
    }
    for (const Size& size : kSizes) {
        MeasureTexts(effort, size);
    }
}

} // namespace bench
