#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <string>
#include <string_view>

/// Enciphers a text with AES-256 in CBC mode and gives it as base64, and the reverse. Stands beside the channel, whose
/// messages travel as plain text: nothing sends through it yet. Needs no Windows.
///
/// What it does NOT give; read this before adopting it:
/// - No authentication. `Decrypt` reports success for a wrong key, a cut and a forged text alike: garbage is all that
///   shows. Who can change the ciphertext can flip chosen bits of one block at the price of garbling the one before.
/// - No unique vector. Every text is enciphered with the same vector, so equal texts, and equal beginnings of texts in
///   whole blocks of 16 bytes, give equal ciphertext. An adopter who needs more sets a fresh random vector per text and
///   sends it along.
/// - No length. The padding is zero bytes, so the zero bytes at a text's end cannot be told from it: use it for texts,
///   not for binary data.
/// - No key. Until `SetKey` is called the key is all zeros, which protects nothing.
///
/// Any number of threads may encrypt and decrypt at once, but none while another one calls `SetKey` or `Clear`.
class PayloadCipher {
public:
    static constexpr std::size_t kKeyBytes = 32;
    static constexpr std::size_t kVectorBytes = 16;
    static constexpr std::size_t kBlockBytes = 16;
    static constexpr int kSuccess = 0;
    static constexpr int kFailure = 1;

    /// The process-wide cipher, made on first use; it wipes its key when the module goes.
    static PayloadCipher& Instance();

    PayloadCipher() noexcept = default;
    ~PayloadCipher() { Clear(); }
    // A copy would be a second key to wipe.
    PayloadCipher(const PayloadCipher&) = delete;
    PayloadCipher& operator=(const PayloadCipher&) = delete;

    /// Copies key and vector; the caller still has to wipe his own.
    void SetKey(std::span<const std::uint8_t, kKeyBytes> key,
                std::span<const std::uint8_t, kVectorBytes> vector) noexcept;

    /// Wipes key, vector and work areas to zeros.
    void Clear() noexcept;

    /// Bytes of ciphertext: always more than the text has, by a whole block when the text fills its blocks.
    static constexpr std::size_t PaddedSize(std::size_t plaintext) noexcept {
        return (plaintext / kBlockBytes + 1) * kBlockBytes;
    }

    /// @return the output buffer that a text of this length needs, terminator included, or 0 when the text is so long
    /// that the size could not be told.
    static constexpr std::size_t EncodedSize(std::size_t plaintext) noexcept {
        return plaintext > std::numeric_limits<std::size_t>::max() / 2 ? 0 : (PaddedSize(plaintext) + 2) / 3 * 4 + 1;
    }

    /// Writes the zero-terminated base64 ciphertext. The vector kept here never moves on.
    /// @param output the text may lie in it. @param outputSize at least `EncodedSize` of the text's length.
    /// @return `kSuccess`, or `kFailure` with the output untouched.
    int Encrypt(std::string_view plaintext, char* output, std::size_t outputSize) const noexcept;

    /// @return the base64 ciphertext; empty on failure.
    std::string EncryptToString(std::string_view plaintext) const noexcept;

    /// Writes the text behind a base64 ciphertext and fills the rest of the output with zeros, which end the text.
    /// @param output must not overlap `encoded`. @param outputSize at least the length of `encoded`, which is always
    /// more than the text and its terminator take.
    /// @return `kSuccess`, or `kFailure` when the output is too small (it is untouched then) or `encoded` is not the
    /// base64 of at least one whole block (all output is zero then).
    int Decrypt(std::string_view encoded, char* output, std::size_t outputSize) const noexcept;

private:
    struct Material {
        std::array<std::uint8_t, kKeyBytes> key{};
        std::array<std::uint8_t, kVectorBytes> vector{};
        // Room to derive or exchange a key without leaving traces elsewhere: wiped with the key, otherwise unused.
        std::array<std::uint8_t, 64> longWork{};
        std::array<std::uint8_t, 32> shortWork{};
    };

    Material material_;
};
