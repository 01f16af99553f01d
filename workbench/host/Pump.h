#pragma once

#include <functional>

namespace workbench {

/// Handles the calling thread's messages until `done` is true. `done` is asked after each message and at least every
/// 10 ms. @return false when the time ran out first (or WM_QUIT came).
bool PumpUntil(const std::function<bool()>& done, unsigned milliseconds);

/// Handles the calling thread's messages for that long.
void PumpFor(unsigned milliseconds);

} // namespace workbench
