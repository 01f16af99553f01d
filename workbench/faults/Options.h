#pragma once

#include "workbench/faults/Kinds.h"

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace faults {

struct Options {
    std::vector<std::string> scenes; // empty: all
    std::optional<Order> round;      // empty: all; its number does not count
    std::uint64_t from = 1;
    std::uint64_t every = 1;     // of the points, one in so many
    bool only = false;           // just the point `from`
    std::uint64_t patience = 12; // seconds until a point counts as hanging
    bool list = false;
    bool stacks = false;
    bool help = false;

    // For the program's own children.
    bool worker = false;
    bool oneKind = false; // do not go on to the next kind
    std::wstring module;
};

struct OptionsError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// @throws OptionsError
Options ParseOptions(const std::vector<std::string>& arguments);
const char* HelpText();

} // namespace faults
