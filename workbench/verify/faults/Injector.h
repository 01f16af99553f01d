#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace verify {

/// Groups of calls that can fail. One round lets the calls of one kind fail. The three file kinds share their calls and
/// differ in the reason that is given; so do those of the host, which differ in the way of the failure.
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
    Json,       // texts that are cut, each character as a call
    HostStatus, // calls on Outlook's objects: Invoke, QueryInterface or FindConnectionPoint returns a failure
    HostNull,   // Invoke succeeds without a result
    HostException,
    Count
};
inline constexpr std::size_t kKinds = static_cast<std::size_t>(Kind::Count);

using KindMask = std::uint32_t;
constexpr KindMask Mask(Kind kind) {
    return KindMask{1} << static_cast<unsigned>(kind);
}
inline constexpr KindMask kFileKinds = Mask(Kind::ReadOnly) | Mask(Kind::DiskFull) | Mask(Kind::Sharing);

/// The calls that a run lets fail: call `number` of the kind, counted from 1, and with `onward` all later ones too.
struct Order {
    Kind kind = Kind::Allocation;
    std::uint64_t number = 0; // 0: nothing fails
    bool onward = false;

    /// "files-full" or "allocation+", where the plus says "and every later call".
    std::string Round() const;
};

/// The rounds of a run in their order, or the one of that name; none when there is no such round.
std::vector<Order> Rounds(const std::string& name = {});

/// The failure of a function: its answer and, unless it is 0, the last error and errno. The file kinds bring their own.
struct Failure {
    std::intptr_t answer = 0;
    int error = 0;
};

/// The calls that were seen while armed, per kind.
using Counts = std::array<std::uint64_t, kKinds>;

/// Starts counting, and lets the call fail that the order names. The calling thread counts as the host's.
void Arm(const Order& order);
/// Nothing is counted or fails any more. @return what was counted.
Counts Disarm();
/// Whether a call has failed since `Arm`.
bool HasStruck();
/// Whether a call has failed in a step that is still going on.
bool IsStruck();
/// The kind that the last order names.
Kind OrderedKind();

/// Counts a call. @return whether it is to fail. The first that fails is told as "failed FUNCTION".
bool Strikes(const char* function, KindMask kinds, bool hostThreadOnly = false) noexcept;
/// Tells the caller why a call failed.
void GiveReason(KindMask kinds, const Failure& failure) noexcept;
/// The text, or what is left of it before the character at which it is to be cut.
std::string CutText(std::string text);

} // namespace verify
