#pragma once

#include "workbench/gauges/Usage.h"

#include <string>

namespace endings {

/// What this process holds, its threads included.
struct Resources {
    gauges::Usage usage;
    DWORD threads = 0;
};

Resources MeasureResources();
std::string Describe(const Resources& resources);

/// A number of cycles and what the process held before and after them.
struct Trend {
    Resources before;
    Resources after;
    unsigned long long cycles = 0;
};

/// What has grown, in words; empty when nothing has. A leak grows with each cycle; what a system's stores grow by does
/// not. @param allowed cycles that are known to leave something behind; as many are reckoned.
std::string Growth(const Trend& trend, const Trend& allowed = {});

} // namespace endings
