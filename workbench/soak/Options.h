#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace soak {

struct Options {
    std::uint64_t seed = 0;
    bool seedGiven = false;
    std::uint64_t seconds = 180;
    std::uint64_t actions = 0; // ends after so many; 0: the time alone counts
    bool verbose = false;
    bool help = false;
};

struct OptionsError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// @throws OptionsError
Options ParseOptions(const std::vector<std::string>& arguments);
const char* HelpText();

} // namespace soak
