#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace endings {

struct Options {
    std::uint64_t cycles = 1000;
    std::uint64_t exits = 300;
    std::uint64_t lines = 50'000; // of each process in the log part
    std::uint64_t seed = 0;
    bool seedGiven = false;
    bool verbose = false;
    bool help = false;
    std::string part;               // empty: all
    std::vector<std::string> child; // what a process of a part is told; not for users

    bool Wants(const char* name) const { return part.empty() || part == name; }
};

struct OptionsError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// @throws OptionsError
Options ParseOptions(const std::vector<std::string>& arguments);
/// @throws OptionsError naming `what` when it is none.
std::uint64_t ParseNumber(const std::string& what, const std::string& text);
const char* HelpText();

} // namespace endings
