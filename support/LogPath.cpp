#include "support/LogPath.h"

#include <algorithm>

namespace {

constexpr char kSeparator = '\\';
constexpr std::string_view kShareStart = "\\\\";

std::string WithBackslashes(std::string_view path) {
    std::string result(path);
    std::replace(result.begin(), result.end(), '/', kSeparator);
    return result;
}

bool HasDrive(std::string_view path) {
    return path.size() >= 2 && path[1] == ':';
}

bool IsShare(std::string_view path) {
    return path.substr(0, kShareStart.size()) == kShareStart;
}

// The part that ".." never removes: "C:", or the server and share of "\\server\share\folder".
size_t RootLength(std::string_view directory) {
    if (!IsShare(directory)) {
        return HasDrive(directory) ? 2 : 0;
    }
    const size_t server = directory.find(kSeparator, kShareStart.size());
    const size_t share = server == std::string_view::npos ? server : directory.find(kSeparator, server + 1);
    return std::min(share, directory.size());
}

// Works on `directory`. @return false when ".." would climb above the root.
bool AppendComponent(std::string& directory, size_t rootLength, std::string_view component) {
    if (component.empty() || component == ".") {
        return true;
    }
    if (component != "..") {
        directory.append(1, kSeparator).append(component);
        return true;
    }
    if (directory.size() <= rootLength) {
        return false;
    }
    const size_t last = directory.rfind(kSeparator);
    directory.resize(last == std::string::npos ? rootLength : std::max(rootLength, last));
    return true;
}

std::string ResolveDirectory(std::string_view relative, std::string_view currentDirectory) {
    std::string directory(currentDirectory);
    while (!directory.empty() && directory.back() == kSeparator) {
        directory.pop_back(); // Only the current directory of a drive's root ends in a separator.
    }
    const size_t rootLength = RootLength(directory);
    size_t begin = 0;
    while (begin <= relative.size()) {
        const size_t end = std::min(relative.find(kSeparator, begin), relative.size());
        if (!AppendComponent(directory, rootLength, relative.substr(begin, end - begin))) {
            return FallbackLogDirectory(currentDirectory);
        }
        begin = end + 1;
    }
    return directory;
}

} // namespace

std::string FallbackLogDirectory(std::string_view currentDirectory) {
    return std::string(currentDirectory) + "\\Log\\";
}

LogLocation SplitLogPath(std::string_view path, std::string_view currentDirectory) {
    const std::string whole = WithBackslashes(path);
    const size_t last = whole.rfind(kSeparator);
    const bool split = last != std::string::npos;
    if (HasDrive(whole) || IsShare(whole)) {
        return split ? LogLocation{whole.substr(0, last), whole.substr(last + 1)} : LogLocation{};
    }
    const std::string relative = split ? whole.substr(0, last) : std::string();
    return {ResolveDirectory(relative, currentDirectory), split ? whole.substr(last + 1) : whole};
}

std::string WithTrailingSeparator(std::string_view directory) {
    std::string result = WithBackslashes(directory);
    if (result.empty() || result.back() != kSeparator) {
        result.push_back(kSeparator);
    }
    return result;
}

size_t FirstCreatableLevel(std::string_view directory) {
    if (!IsShare(directory)) {
        return 0;
    }
    const size_t server = directory.find(kSeparator, kShareStart.size());
    return server == std::string_view::npos ? directory.size() : server + 1;
}

const char* BaseName(const char* path) {
    const char* name = path;
    for (; *path != '\0'; ++path) {
        if (*path == kSeparator || *path == '/') {
            name = path + 1;
        }
    }
    return name;
}
