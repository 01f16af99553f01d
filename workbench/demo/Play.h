#pragma once

#include <CLI/CLI.hpp>

#include <string>

namespace demo {

struct Options {
    bool chinese = false;
    bool colour = false;
    bool verbose = false;
    bool byPath = false;    ///< load the file itself, without registration
    bool installed = false; ///< an installer has installed `dll`; the story neither registers nor removes it
    unsigned pace = 0;      ///< milliseconds between two steps
    std::string pictures;   ///< folder of the pictures; empty for none
    std::string scenario;   ///< empty: all; "start": none
    std::string dll;        ///< empty: the one built with this program
};

/// Describes the command line. Parsing it fills `options`.
void Describe(CLI::App& app, Options& options);

/// Plays the story. @return the exit code. COM must be initialised.
int Play(const Options& options);

} // namespace demo
