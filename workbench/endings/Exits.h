#pragma once

#include "workbench/endings/Options.h"
#include "workbench/endings/Report.h"

/// Processes with a connected add-in that end at a random moment, most of them without OnDisconnection.
namespace endings {

void RunExits(const Options& options, Report& report);

} // namespace endings
