#include "osadapter/src/path_encoding.h"

#include "tests/fuzz/Fuzz.h"

namespace {

/// A second, independent reading of the rules: the lead byte alone decides, and a cut sequence has zeros for its rest.
std::u16string ModelDecode(std::string_view bytes) {
    constexpr unsigned kMasks[] = {0, 0xFF, 0x1F, 0x0F, 0x07, 0x03, 0x01};
    std::u16string units;
    for (std::size_t at = 0; at < bytes.size();) {
        const unsigned lead = static_cast<std::uint8_t>(bytes[at]);
        const std::size_t length =
            lead < 0xC0 ? 1 : 2u + (lead >= 0xE0) + (lead >= 0xF0) + (lead >= 0xF8) + (lead >= 0xFC);
        std::uint64_t value = lead & kMasks[length];
        for (std::size_t index = 1; index < length; ++index) {
            value = value * 64 + (at + index < bytes.size() ? static_cast<std::uint8_t>(bytes[at + index]) % 64 : 0);
        }
        units.push_back(static_cast<char16_t>(value % 65536));
        at += length;
    }
    return units;
}

void CheckDecode(std::string_view bytes, std::size_t capacity) {
    const Fuzz::Exact<char> text(bytes, true);
    // More room than bytes: were the count short of what is stored, it would show here.
    const Fuzz::Exact<char16_t> ample(bytes.size() + 1);
    const std::size_t stored = path_encoding::DecodeUtf8(text.Data(), ample.Data(), ample.Size());
    const std::size_t counted = path_encoding::CountUnits(text.Data());
    FUZZ_CHECK(stored <= counted && ample.View().substr(0, stored) == ModelDecode(bytes));

    const Fuzz::Exact<char16_t> counting(counted);
    FUZZ_CHECK(path_encoding::DecodeUtf8(text.Data(), counting.Data(), counted) == stored);
    FUZZ_CHECK(counting.View().substr(0, stored) == ample.View().substr(0, stored));

    const Fuzz::Exact<char16_t> tight(capacity);
    const std::size_t cut = path_encoding::DecodeUtf8(text.Data(), tight.Data(), capacity);
    FUZZ_CHECK(cut == std::min(stored, capacity));
    FUZZ_CHECK(tight.View().substr(0, cut) == ample.View().substr(0, cut));
}

/// Every name that the system can give comes back unit for unit.
void CheckRoundTrip(std::u16string_view name) {
    const Fuzz::Exact<char16_t> units(name, true);
    const std::size_t counted = path_encoding::CountBytes(units.Data());
    Fuzz::Exact<char> bytes(counted + 1);
    path_encoding::EncodeUtf8(units.Data(), bytes.Data());
    FUZZ_CHECK(bytes.Data()[counted] == '\0' && bytes.View().find('\0') == counted);
    const Fuzz::Exact<char> unterminated(counted); // fails when a terminator or more is written
    path_encoding::EncodeUtf8(units.Data(), unterminated.Data());

    const Fuzz::Exact<char16_t> back(path_encoding::CountUnits(bytes.Data()));
    const std::size_t stored = path_encoding::DecodeUtf8(bytes.Data(), back.Data(), back.Size());
    FUZZ_CHECK(back.View().substr(0, stored) == name);
}

} // namespace

void FuzzOne(Fuzz::Input input) {
    const std::size_t capacity = input.TakeByte() % 16;
    const std::string_view bytes = input.TakeRest();
    CheckDecode(bytes.substr(0, bytes.find('\0')), capacity);

    std::u16string name;
    for (std::size_t at = 0; at + 1 < bytes.size(); at += 2) {
        const auto unit =
            static_cast<char16_t>(static_cast<std::uint8_t>(bytes[at]) << 8 | static_cast<std::uint8_t>(bytes[at + 1]));
        if (unit != 0) {
            name.push_back(unit);
        }
    }
    CheckRoundTrip(name);
}
