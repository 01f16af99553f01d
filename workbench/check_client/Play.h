#pragma once

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

namespace check_client {

struct Options {
    std::string logIn;  ///< command; empty: a person logs in
    std::string change; ///< command; empty: a person changes a meeting
    std::string json;   ///< file of the report; empty for none
    unsigned limit = 60;
    unsigned quiet = 15;
    bool standIn = false;
    std::vector<std::string> client; ///< the program and its arguments; with `standIn` arguments only
};

/// Describes the command line. Parsing it fills `options`.
void Describe(CLI::App& app, Options& options);

/// Checks the client and prints the report. @return the exit code. COM must be initialised.
int Play(const Options& options);

} // namespace check_client
