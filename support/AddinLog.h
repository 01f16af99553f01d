#pragma once

#include <cstdint>

/// Internals of the add-in's log, see LogLine.h.

/// Opens the log under a folder; an empty one means the current directory. Does nothing when the log is open.
void OpenAddinLogUnder(const wchar_t* folder) noexcept;

/// @return id of the add-in's logger, 0 when none is open. Any thread.
uint32_t AddinLogId() noexcept;
