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

constexpr std::array<std::uint8_t, PayloadCipher::kKeyBytes> kKey = {1, 2, 3};
constexpr std::array<std::uint8_t, PayloadCipher::kVectorBytes> kVector = {4, 5, 6};

struct RuntimeFree {
    void operator()(void* memory) const noexcept { std::free(memory); }
};

/// A buffer that nobody has filled yet, as the caller of a block function would get himself.
std::unique_ptr<std::uint8_t[], RuntimeFree> NewBytes(std::size_t size) {
    std::unique_ptr<std::uint8_t[], RuntimeFree> bytes(static_cast<std::uint8_t*>(std::malloc(size)));
    Require(bytes != nullptr, "no memory");
    return bytes;
}

void BareEncode(const Bytes& bytes, std::uint8_t* text) {
    Require(EVP_EncodeBlock(text, bytes.data(), static_cast<int>(bytes.size())) > 0, "the bare encoder fails");
}

void BareDecode(const std::string& text, std::uint8_t* bytes) {
    const auto* from = reinterpret_cast<const std::uint8_t*>(text.data());
    Require(EVP_DecodeBlock(bytes, from, static_cast<int>(text.size())) > 0, "the bare decoder fails");
}

/// The mode over whole blocks, the key expanded first as for every text.
void BareRun(const Bytes& in, Bytes& out, std::size_t bytes, int direction) {
    AES_KEY schedule;
    auto vector = kVector;
    const int bits = static_cast<int>(kKey.size() * 8);
    const int status = direction == AES_ENCRYPT ? AES_set_encrypt_key(kKey.data(), bits, &schedule)
                                                : AES_set_decrypt_key(kKey.data(), bits, &schedule);
    Require(status == 0, "the bare key fails");
    AES_cbc_encrypt(in.data(), out.data(), bytes, &schedule, vector.data(), direction);
}

/// The rows of one size: base64 of random bytes, and the cipher of a text. The cipher's floor works on buffers that are
/// there, and its text is padded beforehand.
void MeasureOneSize(const Effort& effort, const std::string& name, std::size_t size, int calls) {
    const auto report = [&](const char* what, const char* floorName, Aim aim, auto product, auto floor) {
        Report(Compare(what + name, floorName, effort.Of(15, 7), calls, product, floor, aim));
    };
    std::mt19937 random(1);
    Bytes bytes(size);
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<std::uint8_t>(random()); });
    const std::string text = Base64::Encode(bytes);
    report(
        "base64 encode, ", "EVP_EncodeBlock, malloc", kEncodingAim,
        [&] { Require(Base64::Encode(bytes).size() == text.size(), "the encoder fails"); },
        [&] { BareEncode(bytes, NewBytes(text.size() + 1).get()); });
    report(
        "base64 decode, ", "EVP_DecodeBlock, malloc", kEncodingAim,
        [&] { Require(Base64::Decode(text).size() == bytes.size(), "the decoder fails"); },
        [&] { BareDecode(text, NewBytes(text.size() / 4 * 3).get()); });

    const std::string plain(size, 'x');
    Bytes padded(PayloadCipher::PaddedSize(size));
    std::copy(plain.begin(), plain.end(), padded.begin());
    Bytes scratch(padded.size());
    Bytes decoded(padded.size() + 2); // the bare decoder writes whole groups of three
    Bytes output(PayloadCipher::EncodedSize(size));
    auto* const outputText = reinterpret_cast<char*>(output.data());
    PayloadCipher cipher;
    cipher.SetKey(kKey, kVector);
    const std::string encoded = cipher.EncryptToString(plain);
    report(
        "cipher encrypt, ", "AES_cbc_encrypt, EVP_EncodeBlock", kCipherAim,
        [&] { Require(cipher.Encrypt(plain, outputText, output.size()) == PayloadCipher::kSuccess, "Encrypt fails"); },
        [&] {
            BareRun(padded, scratch, padded.size(), AES_ENCRYPT);
            BareEncode(scratch, output.data());
        });
    Require(encoded == outputText, "the cipher and its floor differ");
    report(
        "cipher decrypt, ", "EVP_DecodeBlock, AES_cbc_encrypt", kCipherAim,
        [&] {
            Require(cipher.Decrypt(encoded, outputText, output.size()) == PayloadCipher::kSuccess, "Decrypt fails");
        },
        [&] {
            BareDecode(encoded, decoded.data());
            BareRun(decoded, output, padded.size(), AES_DECRYPT);
        });
    Require(plain == outputText, "the text does not come back");
}

} // namespace

void MeasureCipher(const Effort& effort) {
    MeasureOneSize(effort, "4 KiB", 4096, 200);
    MeasureOneSize(effort, "1 MiB", 1 << 20, 2);
}

} // namespace bench
