#pragma once

#include "workbench/check_client/Checker.h"

#include <CLI/CLI.hpp>

namespace check_client {

struct Options {
    Settings settings;
    std::string json; ///< file of the report; empty for none
    bool standIn = false;
    std::vector<std::string> client; ///< the program and its arguments; with `standIn` arguments only
};

/// Describes the command line. Parsing it fills `options`.
void Describe(CLI::App& app, Options& options);

/// Checks the client and prints the report. @return the exit code. COM must be initialised.
int Play(const Options& options);

} // namespace check_client
