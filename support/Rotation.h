#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The file-name arithmetic of the log's rotation. Names are UTF-8 and carry no directory. Pure functions; any thread.

/// Capacity of the logger's name buffers, terminator included.
inline constexpr size_t kLogNameBytes = 260;

/// A log file's name at its last ".". The views point into the name that was split.
struct LogNameParts {
    std::string_view base;
    std::string_view extension; // with its "."
};

/// @return nothing when the name has no "." or the base does not fit a name buffer; such a file cannot be rotated.
std::optional<LogNameParts> SplitLogName(std::string_view fileName);

/// Tells what place a directory entry has among a log file's copies: 0 is the live file, 1 the newest copy.
/// @return nothing when the entry is no copy.
std::optional<uint32_t> RotationIndex(std::string_view entry, std::string_view fileName, std::string_view base);

struct RotationRename {
    std::string from;
    std::string to;
};

/// The changes that a rotation makes in the directory, in this order.
struct RotationPlan {
    std::vector<std::string> removals;
    std::vector<RotationRename> renames; // oldest copy first, so that no target is in the way
};

/// @param entries names of the directory's entries, in the order listed. @param backupCount copies to keep, positive.
RotationPlan PlanRotation(const std::vector<std::string>& entries, std::string_view fileName, const LogNameParts& parts,
                          int32_t backupCount);
