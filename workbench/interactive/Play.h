#pragma once

#include "workbench/interactive/Session.h"

#include <CLI/CLI.hpp>

namespace interactive {

/// Describes the command line. Parsing it fills `options`.
void Describe(CLI::App& app, Options& options);

/// Opens the windows and runs until the user has closed them. @return the exit code. COM must be initialised.
int Play(const Options& options);

} // namespace interactive
