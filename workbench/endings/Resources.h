#pragma once

#include "workbench/gauges/Usage.h"

#include <string>

namespace endings {

/// The resources that this process holds, its threads included.
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

/// Names the resources that have grown; empty when none has. A leak grows with each cycle; the system's own stores do
/// not.
/// @param allowed cycles that are known to leave something behind. Their growth is scaled to as many cycles.
std::string Growth(const Trend& trend, const Trend& allowed = {});

} // namespace endings
