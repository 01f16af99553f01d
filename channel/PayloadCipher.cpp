#include "channel/PayloadCipher.h"

#include "channel/Base64.h"

// The block functions below are marked deprecated from libcrypto 3.0 on. They stay: one short text at a time, with an
// expanded key on the stack that is wiped right here, needs neither providers nor a context on the heap.
#define OPENSSL_API_COMPAT 0x10100000L
#include <openssl/aes.h>
#include <openssl/crypto.h>

#include <algorithm>
#include <new>
#include <vector>

namespace {

constexpr int kKeyBits = static_cast<int>(PayloadCipher::kKeyBytes * 8);
static_assert(PayloadCipher::kBlockBytes == AES_BLOCK_SIZE);

/// Wipes an object when the scope ends, however it ends.
template <class Object>
class WipeAtEnd {
public:
    explicit WipeAtEnd(Object& object) noexcept : object_(object) {}
    ~WipeAtEnd() { OPENSSL_cleanse(object_.data(), object_.size() * sizeof(*object_.data())); }
    WipeAtEnd(const WipeAtEnd&) = delete;
    WipeAtEnd& operator=(const WipeAtEnd&) = delete;

private:
    Object& object_;
};

/// An expanded key, as good as the key itself, and the vector that the mode moves along.
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

    /// @param bytes a multiple of the block; `in` and `out` may be the same.
    void Run(const std::uint8_t* in, std::uint8_t* out, std::size_t bytes,
             const std::array<std::uint8_t, PayloadCipher::kVectorBytes>& vector, int direction) noexcept {
        vector_ = vector;
        AES_cbc_encrypt(in, out, bytes, &schedule_, vector_.data(), direction);
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
    // A plain fill of an object about to die may be optimised away; this is not.
    OPENSSL_cleanse(&material_, sizeof(material_));
}

int PayloadCipher::Encrypt(std::string_view plaintext, char* output, std::size_t outputSize) const noexcept {
    const std::size_t needed = EncodedSize(plaintext.size());
    if (output == nullptr || needed == 0 || outputSize < needed) {
        return kFailure;
    }
    try {
        // Deliberate: zero padding, which other readers of these texts strip as a string's end.
        std::vector<std::uint8_t> block(PaddedSize(plaintext.size()));
        const WipeAtEnd wipeBlock(block);
        std::copy(plaintext.begin(), plaintext.end(), block.begin());

        KeySchedule schedule;
        if (AES_set_encrypt_key(material_.key.data(), kKeyBits, schedule.Get()) != 0) {
            return kFailure;
        }
        schedule.Run(block.data(), block.data(), block.size(), material_.vector, AES_ENCRYPT);

        const std::string encoded = Base64::Encode(block);
        if (encoded.empty() || encoded.size() >= outputSize) {
            return kFailure;
        }
        *std::copy(encoded.begin(), encoded.end(), output) = '\0';
        return kSuccess;
    } catch (const std::bad_alloc&) {
        return kFailure;
    }
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
    std::fill_n(output, outputSize, '\0');
    const std::vector<std::uint8_t> ciphertext = Base64::Decode(encoded);
    // Four characters give three bytes at most, so what is decoded here always leaves room for a terminator.
    if (ciphertext.empty() || ciphertext.size() % kBlockBytes != 0 || ciphertext.size() >= outputSize) {
        return kFailure;
    }
    KeySchedule schedule;
    if (AES_set_decrypt_key(material_.key.data(), kKeyBits, schedule.Get()) != 0) {
        return kFailure;
    }
    schedule.Run(ciphertext.data(), reinterpret_cast<std::uint8_t*>(output), ciphertext.size(), material_.vector,
                 AES_DECRYPT);
    return kSuccess;
}
