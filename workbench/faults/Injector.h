#pragma once

#include "workbench/faults/Kinds.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace faults {

/// How a failed call tells why, besides its answer.
enum class Reason : std::uint8_t { None, LastError, Errno };

/// One imported function that a run can let fail, or that is only watched (no kinds).
struct HookInfo {
    const char* name;
    KindMask kinds = 0;
    std::intptr_t answer = 0; // when it fails
    Reason reason = Reason::None;
    int code = 0; // the last error or errno; the file kinds bring their own
    /// Gives something back, which it does even when it reports a failure: the leak would be the failure's own.
    bool failsAfterwards = false;
    /// The channel's thread asks on every tick; only the calls of Outlook's thread are counted.
    bool hostThreadOnly = false;
    /// Of the things that are opened and closed, such as keys, how many are open; for leaks.
    std::int64_t* balance = nullptr;
    int balanceStep = 0;
    void* replacement = nullptr;
    void* original = nullptr; // set when it is in place
};

/// Which calls were seen while armed, per kind.
using Counts = std::array<std::uint64_t, kKinds>;

/// Starts counting, and has the call fail that the order names. The calling thread counts as the host's.
void Arm(const Order& order);
/// Nothing is counted or fails any more. @return what was counted.
Counts Disarm();
/// The function that failed first since `Arm`, null when none did.
const HookInfo* Struck();
/// With `on`, the call stack at the first failure is kept.
void KeepStacks(bool on);
bool KeepsStacks();
const std::vector<void*>& StackOfFailure();

/// Counts the call. @return whether it is to fail; the reason is set then.
bool Strikes(const HookInfo& hook) noexcept;
/// Sets the failure's reason once more, for a hook that has called the platform since.
void GiveReason(const HookInfo& hook) noexcept;

} // namespace faults
