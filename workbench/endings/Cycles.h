#pragma once

#include "workbench/endings/Options.h"
#include "workbench/endings/Report.h"

#include <string>
#include <vector>

/// Load, connect, disconnect, release and free, again and again.
namespace endings {

void RunCycles(const Options& options, Report& report);

/// The processes of that part: orders are the kind of cycle and their number. @return the exit code.
int PlayCycles(const std::vector<std::string>& orders);

} // namespace endings
