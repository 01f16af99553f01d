#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace faults {

/// Groups of fallible calls. One round fails the calls of one kind. The three file kinds share their calls and differ
/// in the reason that is given.
enum class Kind : std::uint8_t {
    Allocation,
    Gdiplus,
    Windows,
    Threads,
    Messages,
    Resources,
    Registry,
    Shell,
    ReadOnly,
    DiskFull,
    Sharing, // somebody else has the file open
    Com,
    Conversion,
    Modules,
    Json, // no calls: texts that are cut
    Count
};

inline constexpr std::size_t kKinds = static_cast<std::size_t>(Kind::Count);

using KindMask = std::uint32_t;
constexpr KindMask Mask(Kind kind) {
    return KindMask{1} << static_cast<unsigned>(kind);
}
inline constexpr KindMask kFileKinds = Mask(Kind::ReadOnly) | Mask(Kind::DiskFull) | Mask(Kind::Sharing);

const char* Name(Kind kind);

/// The calls that a run lets fail: call `number` of the kind, counted from 1, and with `onward` all later ones too.
struct Order {
    Kind kind = Kind::Allocation;
    std::uint64_t number = 0; // 0: nothing fails
    bool onward = false;
};

/// A kind with its way, as in "files-full" or "allocation+", where the plus says "and every later call".
std::string RoundName(Kind kind, bool onward);
std::optional<Order> ParseRound(std::string_view name);

} // namespace faults
