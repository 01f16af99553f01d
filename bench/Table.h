#pragma once

#include "bench/Measure.h"

#include <string>
#include <vector>

namespace bench {

/// The rows as one aligned table: medians, quartiles, and the ratio of the medians.
std::string FormatTable(const std::vector<Row>& rows);

} // namespace bench
