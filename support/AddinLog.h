#pragma once

#include <cstdint>

/// The add-in's log as a whole: opening, closing, threshold. Its lines are written with `LogLine`.

/// Opens the add-in's log, "NembraMeeting\log\outlookaddin.txt" under the user's roaming application data.
/// Does nothing when it is open. The file itself is opened by the first line. Called by `DllMain` under the loader
/// lock, like the first line: neither waits for another process, see `LogOneImpl`.
void OpenAddinLog() noexcept;

/// Closes the add-in's log; later lines are dropped until it is opened again. Waits for nothing: a log that another
/// thread is inside of stays open until the module goes. When the process ends, that thread has been killed, and all
/// its finished lines are in the file.
void CloseAddinLog() noexcept;

/// Opens the log under a folder; an empty one means the current directory. Does nothing when the log is open.
void OpenAddinLogUnder(const wchar_t* folder) noexcept;

/// @return id of the add-in's logger, 0 when none is open. Any thread.
uint32_t AddinLogId() noexcept;

/// @return the highest level that the add-in's log writes, less than every level when none is open. Costs one atomic
///   read. Any thread.
int32_t AddinLogThreshold() noexcept;
