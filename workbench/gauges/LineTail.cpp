#include "workbench/gauges/LineTail.h"

#include <fstream>

namespace gauges {

LineTail::LineTail(std::filesystem::path path, bool fromEnd) : path_(std::move(path)) {
    std::error_code missing;
    const auto size = std::filesystem::file_size(path_, missing);
    readUpTo_ = missing || !fromEnd ? 0 : size;
}

std::vector<std::string> LineTail::Read() {
    std::vector<std::string> lines;
    std::ifstream file(path_, std::ios::binary);
    file.seekg(static_cast<std::streamoff>(readUpTo_));
    for (std::string line; std::getline(file, line) && !file.eof();) {
        readUpTo_ += line.size() + 1;
        if (line.ends_with('\r')) {
            line.pop_back();
        }
        lines.push_back(line);
    }
    return lines;
}

} // namespace gauges
