#pragma once

#include <cstdint>

/// Internals of the add-in's log, see LogLine.h.

/// Lines above this level are dropped, see `LogLevel`.
/// Deliberate: that is every `Debug` line and with them every message of the channel. Their content is the users'
/// meetings and has no place in a file that is sent to support.
inline constexpr int32_t kAddinLogThreshold = 2;

/// Opens the log under a folder; an empty one means the current directory. Does nothing when the log is open.
void OpenAddinLogUnder(const wchar_t* folder) noexcept;

/// @return id of the add-in's logger, 0 when none is open. Any thread.
uint32_t AddinLogId() noexcept;
