#include "osadapter/src/secure_format.h"

#include "tests/fuzz/Fuzz.h"

#include <cstdio>

namespace {

struct Target {
    std::size_t size;
    std::int64_t count;
};

/// The contract of the bounded formatter for a text that would have come out as `whole`.
void Check(const Target& target, const Fuzz::Exact<char>& output, std::int32_t result, const std::string& whole) {
    if (target.size == 0) {
        FUZZ_CHECK(result == -1);
        return;
    }
    const std::size_t end = output.View().find('\0');
    FUZZ_CHECK(end != std::string_view::npos);
    const std::string_view written = output.View().substr(0, end);
    const bool ownLimit = target.count >= 0 && static_cast<std::size_t>(target.count) < target.size;
    const std::size_t most = ownLimit ? static_cast<std::size_t>(target.count) : target.size - 1;
    if (whole.size() <= most) {
        FUZZ_CHECK(result == static_cast<std::int32_t>(whole.size()) && written == whole);
    } else if (ownLimit || target.count == -1) {
        FUZZ_CHECK(result == -1 && written == std::string_view(whole).substr(0, most));
    } else {
        FUZZ_CHECK(result == -1 && written.empty());
    }
}

} // namespace

// Sizes in two bytes, the highest count (255) standing for "as much as fits", then the text.
void FuzzOne(Fuzz::Input input) {
    Target target{};
    target.size = input.TakeByte();
    const bool numbers = (input.TakeByte() & 1) != 0;
    const std::uint8_t count = input.TakeByte();
    target.count = count == 0xFF ? -1 : count;
    const std::string_view rest = input.TakeRest();
    const std::string text(rest.substr(0, rest.find('\0')));

    const Fuzz::Exact<char> output(target.size);
    std::fill_n(output.Data(), output.Size(), 'J');
    if (!numbers) {
        Check(target, output, SecureFormat(output.Data(), target.size, target.count, "%s", text.c_str()), text);
        return;
    }
    Fuzz::Input digits(rest);
    std::uint32_t value = 0;
    for (int byte = 0; byte < 4; ++byte) {
        value = value << 8 | digits.TakeByte();
    }
    constexpr const char* kFormat = "%04d:%08x (%u) %5d %-9s|";
    const int number = static_cast<int>(value);
    char whole[8192];
    const int length = std::snprintf(whole, sizeof(whole), kFormat, number, value, value, number, text.c_str());
    if (length < static_cast<int>(sizeof(whole))) {
        Check(
            target, output,
            SecureFormat(output.Data(), target.size, target.count, kFormat, number, value, value, number, text.c_str()),
            whole);
    }
}
