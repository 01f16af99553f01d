#pragma once

#include "workbench/verify/core/Usage.h"

namespace verify {

/// The resources that the module receives and releases.
enum class Thing { None, Block, ComBlock, Key, Search, Stream, Image, GdiplusStart, GlobalBlock, Bitmap, Count };

// The hooks fill this account, on any thread. Neither touches errno or the last error.
void Account(Thing thing, int change) noexcept;
/// A global block or a bitmap: the platform may free them on the module's behalf, so they are looked at later.
void AccountHandle(Thing thing, void* handle) noexcept;

/// Starts to watch the memory of COM's allocator, texts included, which others may free as well.
void WatchComMemory();

Holdings TakeHoldings();

} // namespace verify
