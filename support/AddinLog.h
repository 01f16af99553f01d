#pragma once

#include <cstdint>

/// Internals of the add-in's log, see LogLine.h.

/// Lines above this level are dropped, see `LogLevel`.
/// Deliberate: that is every `Debug` line and with them the channel's own log, which has lines for each window message
/// and each segment and would push everything else out of the file.
inline constexpr int32_t kAddinLogThreshold = 2;

/// Opens the log under a folder; an empty one means the current directory. Does nothing when the log is open.
void OpenAddinLogUnder(const wchar_t* folder) noexcept;

/// @return id of the add-in's logger, 0 when none is open. Any thread.
uint32_t AddinLogId() noexcept;
