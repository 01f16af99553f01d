#pragma once

#include "workbench/verify/core/LogTail.h"

#include <algorithm>
#include <string>
#include <vector>

/// Reads the lines that this process writes to the add-in's log after the reader's construction.
class AddinLogReader {
public:
    /// The lines without time and ids: "[Err][AddIn:12 AddIn::OnAction]text" becomes "Err AddIn::OnAction text". Of a
    /// text of several lines only the first is given.
    const std::vector<std::string>& Lines() const {
        for (const verify::AddinLogLine& line : tail_.Read()) {
            if (line.hasHead) {
                lines_.push_back(line.level + " " + line.function + " " + line.text);
            }
        }
        return lines_;
    }
    /// Those that were not there at the last call.
    std::vector<std::string> NewLines() {
        const auto first = static_cast<std::ptrdiff_t>(taken_);
        taken_ = Lines().size();
        return {lines_.begin() + first, lines_.end()};
    }
    /// How many lines begin so.
    size_t CountOf(const std::string& beginning) const {
        const auto begins = [&](const std::string& line) { return line.starts_with(beginning); };
        return static_cast<size_t>(std::ranges::count_if(Lines(), begins));
    }

private:
    mutable verify::AddinLogTail tail_;
    mutable std::vector<std::string> lines_;
    size_t taken_ = 0;
};
