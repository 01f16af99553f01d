#pragma once

#include "workbench/gauges/LineTail.h"

#include <string>
#include <string_view>
#include <vector>

namespace gauges {

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
    LineTail tail_;
    std::string ownMark_;
};

} // namespace gauges
