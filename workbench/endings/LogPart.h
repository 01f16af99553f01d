#pragma once

#include "workbench/endings/Options.h"
#include "workbench/endings/Report.h"

#include <string>
#include <vector>

/// Several processes, each with the add-in, write numbered lines into the same log.
namespace endings {

void RunLog(const Options& options, Report& report);

/// A writer: orders are its mark, the number of lines, and the events "ready" and "go". @return the exit code.
int PlayWriter(const std::vector<std::string>& orders);

} // namespace endings
