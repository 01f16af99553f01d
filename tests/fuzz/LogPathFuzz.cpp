#include "support/LogPath.h"
#include "tests/fuzz/Fuzz.h"

#include <optional>

namespace {

constexpr std::string_view kSeparators = "\\/";

bool IsAbsolute(std::string_view path) {
    const auto isSeparator = [](char character) { return character == '\\' || character == '/'; };
    return (path.size() >= 2 && path[1] == ':') || (path.size() >= 2 && isSeparator(path[0]) && isSeparator(path[1]));
}

std::vector<std::string> Components(std::string_view path) {
    std::vector<std::string> components;
    while (!path.empty()) {
        const std::size_t end = std::min(path.find_first_of(kSeparators), path.size());
        if (end != 0) {
            components.emplace_back(path.substr(0, end));
        }
        path.remove_prefix(std::min(end + 1, path.size()));
    }
    return components;
}

/// Resolves below a drive as a list of components. Nothing: ".." climbs above the drive.
std::optional<std::string> ModelResolve(std::string_view relative, const std::vector<std::string>& current) {
    std::vector<std::string> stack = current;
    for (const std::string& component : Components(relative)) {
        if (component == ".." && stack.size() <= 1) {
            return std::nullopt;
        }
        if (component == "..") {
            stack.pop_back();
        } else if (component != ".") {
            stack.push_back(component);
        }
    }
    std::string joined = stack.front();
    for (std::size_t at = 1; at < stack.size(); ++at) {
        joined += "\\" + stack[at];
    }
    return joined;
}

/// A relative path below a current directory as the system gives it: drive first, no empty component.
void CheckBelowDrive(std::string_view path, std::string_view folders) {
    std::vector<std::string> current = Components(folders);
    current.insert(current.begin(), "C:");
    std::string directory = *ModelResolve("", current);
    if (current.size() == 1) {
        directory += '\\';
    }
    const LogLocation location = SplitLogPath(path, directory);
    const std::size_t last = path.find_last_of(kSeparators);
    const bool split = last != std::string_view::npos;
    const auto expected = ModelResolve(split ? path.substr(0, last) : std::string_view(), current);
    FUZZ_CHECK(location.fileName == (split ? path.substr(last + 1) : path));
    FUZZ_CHECK(location.directory == expected.value_or(FallbackLogDirectory(directory)));
}

void CheckLevels(std::string_view path) {
    const std::string directory = WithTrailingSeparator(path);
    FUZZ_CHECK(directory.back() == '\\' && directory.find('/') == std::string::npos);
    FUZZ_CHECK(directory.size() - path.size() <= 1 && WithTrailingSeparator(directory) == directory);
    const std::size_t first = FirstCreatableLevel(directory);
    FUZZ_CHECK(first <= directory.size() && (first == 0 || directory.starts_with("\\\\")));

    const Fuzz::Exact<char> text(path.substr(0, path.find('\0')), true);
    const std::string name = BaseName(text.Data());
    FUZZ_CHECK(name.find_first_of(kSeparators) == std::string::npos && std::string(text.Data()).ends_with(name));
}

} // namespace

// The first line is the current directory, the rest the path.
void FuzzOne(Fuzz::Input input) {
    const std::string_view current = input.TakeLine();
    const std::string_view path = input.TakeRest();
    // For every current directory the name has no separators, and the part from the path has no "/".
    const LogLocation location = SplitLogPath(path, current);
    FUZZ_CHECK(location.fileName.find_first_of(kSeparators) == std::string::npos);
    if (IsAbsolute(path)) {
        const bool split = path.find_first_of(kSeparators) != std::string_view::npos;
        FUZZ_CHECK(location.directory.find('/') == std::string::npos);
        FUZZ_CHECK(!split || location.directory.size() + 1 + location.fileName.size() == path.size());
    } else {
        CheckBelowDrive(path, current);
    }
    CheckLevels(path);
}
