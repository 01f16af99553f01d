#include "osadapter/include/zep.h"
#include "tests/fuzz/Fuzz.h"

namespace {

constexpr std::size_t kLongestSequence = 6;

void CheckRepaired(std::string_view before, std::string_view after) {
    const std::size_t end = after.find('\0');
    FUZZ_CHECK(end != std::string_view::npos && after.size() - end <= kLongestSequence);
    FUZZ_CHECK(after.substr(0, end) == before.substr(0, end) && after.substr(end + 1) == before.substr(end + 1));
}

} // namespace

void FuzzOne(Fuzz::Input input) {
    const std::string_view before = input.TakeRest();
    const Fuzz::Exact<char> buffer(before);
    const int size = static_cast<int>(buffer.Size());
    if (ZEP_Utf8Check(buffer.Data(), size) == 0) {
        FUZZ_CHECK(buffer.View() == before && before.find('\0') != std::string_view::npos);
        return;
    }
    if (size == 0) {
        return;
    }
    // A zero byte inside a sequence is passed over; only a text without any shows what was cut.
    if (before.find('\0') == std::string_view::npos) {
        CheckRepaired(before, buffer.View());
    }
    FUZZ_CHECK(ZEP_Utf8Check(buffer.Data(), size) == 0); // terminated now

    // Of well-formed text that was cut anywhere, as many whole characters stay as leave room for the terminator.
    if (Fuzz::IsUtf8(before) && before.find('\0') == std::string_view::npos) {
        for (std::size_t cut = 1; cut <= before.size(); ++cut) {
            std::size_t kept = cut - 1;
            while (!Fuzz::IsUtf8(before.substr(0, kept))) {
                --kept;
            }
            const Fuzz::Exact<char> part(before.substr(0, cut));
            ZEP_Utf8Check(part.Data(), static_cast<int>(cut));
            FUZZ_CHECK(part.View().substr(0, part.View().find('\0')) == before.substr(0, kept));
        }
    }
}
