#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace verify {

/// Reads the lines that another program adds to a file.
class LineTail {
public:
    /// @param fromEnd skips what the file holds already.
    explicit LineTail(std::filesystem::path path, bool fromEnd = false);

    /// The lines added since the last call, without their ends. A line that is still being written comes next time.
    std::vector<std::string> Read();

private:
    std::filesystem::path path_;
    std::uint64_t readUpTo_ = 0; // bytes
};

/// The add-in's log of this user; copies 1 and 2 lie beside it.
std::filesystem::path AddinLogFile(int copy = 0);

/// A line of the add-in's log. A text of several lines has a head on its first one only.
struct AddinLogLine {
    bool hasHead = false;
    std::string level;    // "Err", "War", "Inf"
    std::string function; // "Meeting::OnAction"
    std::string text;
};

/// @param ownMark what stands in the heads of the process whose lines are wanted.
AddinLogLine ReadAddinLogLine(std::string_view line, std::string_view ownMark);

/// Follows the log that the add-in of this process writes, from where it ended when this object was made.
class AddinLogTail {
public:
    AddinLogTail();
    std::vector<AddinLogLine> Read();

private:
    LineTail tail_{AddinLogFile(), true};
    std::string ownMark_;
};

} // namespace verify
