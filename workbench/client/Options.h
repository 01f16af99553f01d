#pragma once

#include <CLI/CLI.hpp>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace meeting_client {

enum ExitCode : int {
    kEnded = 0,
    kBadCommandLine = 1,
    kCannotStart = 2,
    kAlreadyRunning = 3,
    kTimeRanOut = 5,
    kDiedAsOrdered = 9,
};

struct Options {
    std::string transcript; ///< file path; empty for none
    std::vector<std::string> orders;
    bool ignoreCommands = false;
    bool hidden = false;           ///< no channel window until the order "show"
    std::uint32_t firstNumber = 1; ///< of its segmented messages
    bool panel = false;            ///< a window to look at
    std::string launchUri;         ///< empty when it was not launched by one
    unsigned loginAfter = 1000;    ///< milliseconds; with a launch URI: when the user has logged in
    unsigned longest = 600;        ///< seconds
    std::uint32_t parent = 0;      ///< process id whose end ends the client; 0 for none
    bool registerUri = false;
    bool unregisterUri = false;
};

/// Describes the command line. Parsing it fills `options`.
void Describe(CLI::App& app, Options& options);

/// A decimal number of at most `most`. @return nothing for anything else.
std::optional<std::uint64_t> ParseNumber(std::string_view text, std::uint64_t most);

} // namespace meeting_client
