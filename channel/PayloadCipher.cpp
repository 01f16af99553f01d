#include "channel/PayloadCipher.h"

#include "channel/Base64.h"

// libcrypto deprecates these block functions since 3.0. They are used here because they need no provider and no context
// on the heap, and the expanded key stays on the stack, where it is wiped.
#define OPENSSL_API_COMPAT 0x10100000L
#include <openssl/aes.h>
#include <openssl/crypto.h>

#include <algorithm>
#include <cstring>
#include <new>

namespace {

constexpr int kKeyBits = static_cast<int>(PayloadCipher::kKeyBytes * 8);
static_assert(PayloadCipher::kBlockBytes == AES_BLOCK_SIZE);

/// An expanded key, which is as secret as the key itself, and the vector that CBC advances from block to block.
class KeySchedule {
public:
    KeySchedule() noexcept = default;
    ~KeySchedule() {
        OPENSSL_cleanse(&schedule_, sizeof(schedule_));
        OPENSSL_cleanse(vector_.data(), vector_.size());
    }
    KeySchedule(const KeySchedule&) = delete;
    KeySchedule& operator=(const KeySchedule&) = delete;

    AES_KEY* Get() noexcept { return &schedule_; }

    /// Works in place. @param size a multiple of the block.
    void Run(std::uint8_t* bytes, std::size_t size, const std::array<std::uint8_t, PayloadCipher::kVectorBytes>& vector,
             int direction) noexcept {
        vector_ = vector;
        AES_cbc_encrypt(bytes, bytes, size, &schedule_, vector_.data(), direction);
    }

private:
    AES_KEY schedule_{};
    std::array<std::uint8_t, PayloadCipher::kVectorBytes> vector_{};
};

} // namespace

PayloadCipher& PayloadCipher::Instance() {
    static PayloadCipher instance;
    return instance;
}

void PayloadCipher::SetKey(std::span<const std::uint8_t, kKeyBytes> key,
                           std::span<const std::uint8_t, kVectorBytes> vector) noexcept {
    std::copy(key.begin(), key.end(), material_.key.begin());
    std::copy(vector.begin(), vector.end(), material_.vector.begin());
}

void PayloadCipher::Clear() noexcept {
    // The compiler may drop a plain fill of an object that is about to be destroyed, but not this call.
    OPENSSL_cleanse(&material_, sizeof(material_));
}

int PayloadCipher::Encrypt(std::string_view plaintext, char* output, std::size_t outputSize) const noexcept {
    const std::size_t needed = EncodedSize(plaintext.size());
    if (output == nullptr || needed == 0 || outputSize < needed) {
        return kFailure;
    }
    KeySchedule schedule;
    if (AES_set_encrypt_key(material_.key.data(), kKeyBits, schedule.Get()) != 0) {
        return kFailure;
    }
    // The text is encrypted in place at the end of the output, and the encoder expands it from there, so no other copy
    // of the text exists. The copy is a move because the text may overlap the output.
    const std::size_t padded = PaddedSize(plaintext.size());
    auto* const block = reinterpret_cast<std::uint8_t*>(output) + (needed - 1 - padded);
    if (!plaintext.empty()) {
        std::memmove(block, plaintext.data(), plaintext.size());
    }
    // Deliberate: the padding is zero bytes and not PKCS#7. Readers find the text's end at the first zero.
    std::fill(block + plaintext.size(), block + padded, std::uint8_t{0});
    schedule.Run(block, padded, material_.vector, AES_ENCRYPT);
    *Base64::EncodeTo({block, padded}, output) = '\0';
    return kSuccess;
}

std::string PayloadCipher::EncryptToString(std::string_view plaintext) const noexcept {
    std::string text;
    const std::size_t needed = EncodedSize(plaintext.size());
    if (needed == 0 || needed > text.max_size()) {
        return text;
    }
    try {
        text.resize(needed);
    } catch (const std::bad_alloc&) {
        return text;
    }
    if (Encrypt(plaintext, text.data(), text.size()) != kSuccess) {
        return std::string();
    }
    text.pop_back(); // the terminator
    return text;
}

int PayloadCipher::Decrypt(std::string_view encoded, char* output, std::size_t outputSize) const noexcept {
    if (output == nullptr || outputSize == 0 || outputSize < encoded.size()) {
        return kFailure;
    }
    KeySchedule schedule;
    // The base64 text is longer than its bytes, so the output has room for them and for a terminator.
    auto* const block = reinterpret_cast<std::uint8_t*>(output);
    const std::size_t size = Base64::DecodeTo(encoded, block);
    if (size == 0 || size % kBlockBytes != 0 ||
        AES_set_decrypt_key(material_.key.data(), kKeyBits, schedule.Get()) != 0) {
        std::fill_n(output, outputSize, '\0');
        return kFailure;
    }
    schedule.Run(block, size, material_.vector, AES_DECRYPT);
    std::fill(output + size, output + outputSize, '\0');
    return kSuccess;
}
