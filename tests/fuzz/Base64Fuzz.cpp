#include "channel/Base64.h"
#include "tests/fuzz/Fuzz.h"

#include <openssl/evp.h>

#include <cctype>
#include <optional>

namespace {

/// What the rules of `Base64::Decode` ask for, with libcrypto doing the arithmetic. Nothing: the text is refused.
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

} // namespace

void FuzzOne(Fuzz::Input input) {
    const Fuzz::Exact<char> text(input.TakeRest());
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
