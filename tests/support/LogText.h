#pragma once

#include <regex>
#include <sstream>
#include <string>
#include <vector>

/// Time, process and thread at the beginning of each line; the groups are the two ids.
inline constexpr char kLogStamp[] = R"(\[\d+-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3}\]\[P:(\d+)/T:(\d+)\])";

/// The lines of a log behind the first, which is its header, without stamps and line ends.
inline std::vector<std::string> LogLines(const std::string& content) {
    static const std::regex stamp(kLogStamp);
    std::vector<std::string> lines;
    std::istringstream stream(content);
    std::string line;
    std::getline(stream, line);
    while (std::getline(stream, line)) {
        lines.push_back(std::regex_replace(line.substr(0, line.find('\r')), stamp, ""));
    }
    return lines;
}
