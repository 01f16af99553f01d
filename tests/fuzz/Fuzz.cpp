#include "tests/fuzz/Fuzz.h"

#include <cstdio>
#include <cstdlib>

namespace Fuzz {

void Fail(const char* condition, const char* file, int line) {
    std::fprintf(stderr, "%s:%d: does not hold: %s\n", file, line, condition);
    std::abort();
}

bool IsUtf8(std::string_view text) noexcept {
    constexpr std::uint32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000}; // by length
    for (std::size_t at = 0; at < text.size();) {
        const auto lead = static_cast<std::uint8_t>(text[at]);
        const std::size_t length = lead < 0x80 ? 1 : lead < 0xC0 ? 0 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
        if (length == 0 || lead >= 0xF8 || length > text.size() - at) {
            return false;
        }
        std::uint32_t code = length == 1 ? lead : lead & (0x7Fu >> length);
        for (std::size_t next = 1; next < length; ++next) {
            const auto byte = static_cast<std::uint8_t>(text[at + next]);
            if ((byte & 0xC0) != 0x80) {
                return false;
            }
            code = code << 6 | (byte & 0x3Fu);
        }
        if (code < kLeast[length] || code > 0x10FFFF || (code >= 0xD800 && code < 0xE000)) {
            return false;
        }
        at += length;
    }
    return true;
}

} // namespace Fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzOne(Fuzz::Input({reinterpret_cast<const char*>(data), size}));
    return 0;
}
