#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <string>
#include <string_view>

/// Encrypts a text with AES-256 in CBC mode to base64, and decrypts it again. The channel does not use it: its messages
/// are sent as plain text. Needs no Windows.
///
/// Before you adopt it, note what it does NOT provide:
/// - Authentication. `Decrypt` reports success also for a wrong key and for a truncated or forged text. The content is
///   garbage then. An attacker who changes the ciphertext can flip chosen bits of one block and garbles the block
///   before it.
/// - A unique vector. Every text is encrypted with the same vector. Equal texts, and texts that begin with the same
///   whole blocks of 16 bytes, have equal ciphertext. To avoid this, set a new random vector for each text and send it
///   along.
/// - The length. The padding consists of zero bytes, which cannot be told from zero bytes at the end of the data. Use
///   it for texts, not for binary data.
/// - A key. Until `SetKey` is called, the key is all zeros and protects nothing.
///
/// Several threads may encrypt and decrypt at the same time, but not while a thread calls `SetKey` or `Clear`.
class PayloadCipher {
public:
    static constexpr std::size_t kKeyBytes = 32;
    static constexpr std::size_t kVectorBytes = 16;
    static constexpr std::size_t kBlockBytes = 16;
    static constexpr int kSuccess = 0;
    static constexpr int kFailure = 1;

    /// @return the process-wide cipher, created on first use. It wipes its key when the module is unloaded.
    static PayloadCipher& Instance();

    PayloadCipher() noexcept = default;
    ~PayloadCipher() { Clear(); }
    // A copy would be a second key to wipe.
    PayloadCipher(const PayloadCipher&) = delete;
    PayloadCipher& operator=(const PayloadCipher&) = delete;

    /// Copies key and vector. The caller wipes the originals.
    void SetKey(std::span<const std::uint8_t, kKeyBytes> key,
                std::span<const std::uint8_t, kVectorBytes> vector) noexcept;

    /// Wipes key, vector and work areas to zeros.
    void Clear() noexcept;

    /// @return the number of ciphertext bytes. A text of whole blocks gets one block more.
    static constexpr std::size_t PaddedSize(std::size_t plaintext) noexcept {
        return (plaintext / kBlockBytes + 1) * kBlockBytes;
    }

    /// @return the size of the output buffer for a text of this length, including the terminator, or 0 when the size
    /// does not fit.
    static constexpr std::size_t EncodedSize(std::size_t plaintext) noexcept {
        return plaintext > std::numeric_limits<std::size_t>::max() / 2 ? 0 : (PaddedSize(plaintext) + 2) / 3 * 4 + 1;
    }

    /// Writes the zero-terminated base64 ciphertext. The stored vector does not change.
    /// @param output may overlap the plaintext. @param outputSize at least `EncodedSize` of the text's length.
    /// @return `kSuccess`, or `kFailure` with the output untouched.
    int Encrypt(std::string_view plaintext, char* output, std::size_t outputSize) const noexcept;

    /// @return the base64 ciphertext; empty on failure.
    std::string EncryptToString(std::string_view plaintext) const noexcept;

    /// Decrypts a base64 ciphertext and fills the rest of the output with zeros, which terminate the text.
    /// @param output must not overlap `encoded`. @param outputSize at least the length of `encoded`. This is always
    /// enough for the text and its terminator.
    /// @return `kSuccess`. `kFailure` when the output is too small, which leaves it untouched, or when `encoded` is not
    /// the base64 of one or more whole blocks, which fills the output with zeros.
    int Decrypt(std::string_view encoded, char* output, std::size_t outputSize) const noexcept;

private:
    struct Material {
        std::array<std::uint8_t, kKeyBytes> key{};
        std::array<std::uint8_t, kVectorBytes> vector{};
        // Deliberate: reserved work areas, which nothing uses yet. They are wiped with the key.
        std::array<std::uint8_t, 64> longWork{};
        std::array<std::uint8_t, 32> shortWork{};
    };

    Material material_;
};
