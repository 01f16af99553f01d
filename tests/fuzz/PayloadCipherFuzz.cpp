#include "channel/PayloadCipher.h"

#include "channel/Base64.h"
#include "tests/fuzz/Fuzz.h"

#include <openssl/evp.h>

#include <cctype>
#include <optional>

namespace {

/// The rules of `Base64::Decode`, with libcrypto doing the arithmetic. @return nothing when the text is refused.
std::optional<std::string> ModelDecode(std::string_view text) {
    std::string groups;
    for (const char character : text) {
        switch (character) {
        case '\r':
        case '\n':
            continue;
        case '-':
            groups.push_back('+');
            break;
        case '_':
            groups.push_back('/');
            break;
        default:
            if (!std::isalnum(static_cast<unsigned char>(character)) && character != '+' && character != '/' &&
                character != '=') {
                return std::nullopt;
            }
            groups.push_back(character);
        }
    }
    if (groups.size() % 4 == 1) {
        return std::nullopt;
    }
    groups.resize((groups.size() + 3) / 4 * 4, '=');

    std::string bytes;
    for (std::size_t at = 0; at < groups.size(); at += 4) {
        const std::string group = groups.substr(at, 4);
        const std::size_t ending = group.size() - (group.find_last_not_of('=') + 1);
        std::string zeros = group;
        std::replace(zeros.begin(), zeros.end(), '=', 'A');
        unsigned char three[3] = {};
        FUZZ_CHECK(EVP_DecodeBlock(three, reinterpret_cast<const unsigned char*>(zeros.data()), 4) == 3);
        bytes.append(reinterpret_cast<const char*>(three), 3 - std::min<std::size_t>(ending, 2));
    }
    return bytes;
}

/// Decoding against the model, and encoding against libcrypto.
void CheckBase64(std::string_view bytes) {
    const Fuzz::Exact<char> text(bytes);
    const std::string decoded = Base64::DecodeToString(text.View());
    FUZZ_CHECK(decoded == ModelDecode(text.View()).value_or(""));
    FUZZ_CHECK(decoded.size() <= text.Size() / 4 * 3 + 2);

    const std::string encoded = Base64::Encode(text.View());
    FUZZ_CHECK(encoded.size() == Base64::EncodedLength(text.Size()));
    FUZZ_CHECK(Base64::DecodeToString(encoded) == text.View());
    std::string peer(encoded.size() + 1, '\0');
    EVP_EncodeBlock(reinterpret_cast<unsigned char*>(peer.data()), reinterpret_cast<const unsigned char*>(text.Data()),
                    static_cast<int>(text.Size()));
    FUZZ_CHECK(peer.substr(0, encoded.size()) == encoded);
}

/// Any text and any output size. Nothing is written beyond the output, and a failure leaves no part of a text.
void CheckDecrypt(const PayloadCipher& cipher, std::string_view text, std::size_t outputSize) {
    const Fuzz::Exact<char> encoded(text);
    const Fuzz::Exact<char> output(outputSize);
    std::fill_n(output.Data(), outputSize, 'J');
    const int result = cipher.Decrypt(encoded.View(), output.Data(), outputSize);
    const std::size_t bytes = Base64::Decode(text).size();
    const bool expected = outputSize != 0 && outputSize >= text.size() && bytes != 0 && bytes % 16 == 0;
    FUZZ_CHECK(result == (expected ? PayloadCipher::kSuccess : PayloadCipher::kFailure));
    if (outputSize >= text.size()) {
        const std::size_t written = expected ? bytes : 0;
        FUZZ_CHECK(output.View().find_first_not_of('\0', written) == std::string_view::npos);
        FUZZ_CHECK(!expected || written < outputSize);
    } else {
        FUZZ_CHECK(output.View().find_first_not_of('J') == std::string_view::npos);
    }
}

void CheckRoundTrip(const PayloadCipher& cipher, std::string_view text, std::size_t outputSize) {
    const Fuzz::Exact<char> plaintext(text);
    const Fuzz::Exact<char> output(outputSize);
    const bool expected = outputSize >= PayloadCipher::EncodedSize(text.size());
    FUZZ_CHECK((cipher.Encrypt(plaintext.View(), output.Data(), outputSize) == PayloadCipher::kSuccess) == expected);

    const std::string encoded = cipher.EncryptToString(text);
    FUZZ_CHECK(encoded.size() + 1 == PayloadCipher::EncodedSize(text.size()));
    FUZZ_CHECK(!expected || encoded == output.Data());
    const Fuzz::Exact<char> back(encoded.size());
    FUZZ_CHECK(cipher.Decrypt(encoded, back.Data(), back.Size()) == PayloadCipher::kSuccess);
    FUZZ_CHECK(back.View().substr(0, text.size()) == text);
    FUZZ_CHECK(back.View().find_first_not_of('\0', text.size()) == std::string_view::npos);
}

} // namespace

void FuzzOne(Fuzz::Input input) {
    const std::size_t wish = input.TakeByte();
    const std::uint8_t seed = input.TakeByte();
    const std::string_view text = input.TakeRest();

    std::array<std::uint8_t, PayloadCipher::kKeyBytes> key;
    key.fill(seed);
    std::array<std::uint8_t, PayloadCipher::kVectorBytes> vector;
    vector.fill(static_cast<std::uint8_t>(~seed));
    PayloadCipher cipher;
    cipher.SetKey(key, vector);

    CheckBase64(text);
    CheckDecrypt(cipher, text, text.size());
    CheckDecrypt(cipher, text, wish);
    CheckRoundTrip(cipher, text, PayloadCipher::EncodedSize(text.size()));
    CheckRoundTrip(cipher, text, wish);
}
