#pragma once

#include <string>
#include <string_view>

/// The path arithmetic of opening a log. Texts are UTF-8 Windows paths. Pure functions; any thread.

/// Where a log file lies. Both are empty for a path with a drive but without any separator.
struct LogLocation {
    std::string directory;
    std::string fileName;
};

/// Folder under the current directory for logs whose own directory is out of reach.
std::string FallbackLogDirectory(std::string_view currentDirectory);

/// Splits a path into directory and file name; relative ones are resolved against the current directory, a bare file
/// name lies in it. A path that climbs above the drive or the share goes to the fallback folder.
LogLocation SplitLogPath(std::string_view path, std::string_view currentDirectory);

/// A directory with "\" for every separator and one at its end.
std::string WithTrailingSeparator(std::string_view directory);

/// Where the first level that can be created begins: behind the server of a network share, 0 otherwise.
/// @param directory with "\" for every separator.
size_t FirstCreatableLevel(std::string_view directory);

/// The part behind the last separator, "\" or "/". Points into `path`.
const char* BaseName(const char* path);
