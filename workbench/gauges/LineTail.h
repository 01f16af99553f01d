#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace gauges {

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

} // namespace gauges
