#pragma once

#include <functional>

namespace process {

inline constexpr int kStartTries = 5;

/// Calls `start`, which starts a process. Wine sometimes fails to start one, with ERROR_INTERNAL_ERROR, without any
/// fault of the program; on that error alone `start` is called again. Each repetition adds a line to the file that the
/// environment variable NEMBRA_REPEATED_STARTS names.
/// @param start returns false when it fails, with the reason in GetLastError.
/// @return the last result of `start`; GetLastError is still that of `start`.
bool StartRepeatedly(const std::function<bool()>& start);

} // namespace process
