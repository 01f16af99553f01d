#include "channel/PayloadCipher.h"

#include "channel/Base64.h"
#include "tests/fuzz/Fuzz.h"

namespace {

/// Any text, any output size: never beyond the output, and a failure leaves no half text.
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

    CheckDecrypt(cipher, text, text.size());
    CheckDecrypt(cipher, text, wish);
    CheckRoundTrip(cipher, text, PayloadCipher::EncodedSize(text.size()));
    CheckRoundTrip(cipher, text, wish);
}
