#pragma once

#include <windows.h>

#include <cstdint>
#include <string>
#include <vector>

namespace verify {

// The system marks the end of each block and fills free memory only when the image's GlobalFlag asks for it (see
// scripts/hostile); without that little of a damage is seen. `MissedHeapFaults` tells whether it works.

/// Looks through all heaps of the process, that of the C library among them.
bool HeapsAreSound() noexcept;

/// From now on each block that this module gives back to the C library is looked at first, kept for a while and looked
/// at again: a write behind it, or to it later, would else be gone with the block.
/// @return false when the module does not import the library's functions.
bool WatchFrees(HMODULE module) noexcept;

/// Lets go of what is still kept.
void ReleaseFreed() noexcept;

/// The blocks that were looked at so, and the damaged ones of them.
std::uint64_t WatchedFrees() noexcept;
std::uint64_t DamagedFrees() noexcept;

/// Damages blocks of its own in several ways, and mends them again. @return what was not noticed, one line each.
std::vector<std::string> MissedHeapFaults();

} // namespace verify
