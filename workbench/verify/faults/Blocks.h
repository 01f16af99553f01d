#pragma once

#include "workbench/verify/core/Usage.h"

#include <atomic>
#include <cstdint>

namespace verify {

// The resources that the module has received and not released. The hooks fill this account, on any thread. None of
// these touches errno or the last error; null is ignored.
void BlockGiven(void* block) noexcept;
void BlockTaken(void* block) noexcept;
// These two the platform may free on the module's behalf.
void GlobalGiven(void* block) noexcept; // of GlobalAlloc
void BitmapGiven(void* bitmap) noexcept;

/// A counter of things that are opened and closed; made once for each name and never destroyed.
std::atomic<std::int64_t>* BalanceOf(const char* name);

/// Starts to watch the memory of COM's allocator, texts included, which others may free as well.
void WatchComMemory();

/// Zeros are left out.
Holdings TakeHoldings();

} // namespace verify
