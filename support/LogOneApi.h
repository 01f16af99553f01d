#pragma once

#include <cstdint>

/// The file loggers behind numeric ids, see `LogOne` for what they write.

/// Largest size limit. It is kept as a signed 32-bit number of bytes, which 2 GiB would make negative.
inline constexpr int32_t kLargestLogKB = INT32_MAX >> 10;

struct LogOneConfig {
    const char* path;    // UTF-8
    int32_t maxSizeKB;   // ignored when not positive
    int32_t backupCount; // ignored when not positive
    int32_t level;       // threshold, always applied
};

/// Opens a logger on a path. A second logger on the same path (byte for byte) is the first one with the new settings.
/// The file is opened by the first line. @return the logger's id, never reused; 0 for a null record or path and when
/// memory is exhausted. Any thread.
uint32_t LogOneOpen(const LogOneConfig* config) noexcept;

/// All ignore unknown and closed ids. Any thread.
void LogOneClose(uint32_t id) noexcept;
void LogOneWrite(uint32_t id, const char* tag, int32_t level, const char* function, const char* file, int32_t line,
                 const char* format, ...) noexcept;
void LogOneSetMaxSize(uint32_t id, uint32_t kibibytes) noexcept;
void LogOneSetLevel(uint32_t id, int32_t level) noexcept;
