#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace CLI {
class App;
}

/// The options of each mode on the command line.
namespace verify {

struct SoakOptions {
    std::uint64_t seed = 0;
    double minutes = 3;
    std::uint64_t seconds = 0; // instead of the minutes
    std::uint64_t actions = 0; // ends after so many; 0: the time alone counts
    bool verbose = false;
};

struct HostileOptions {
    std::uint64_t messages = 1'000'000;
    std::uint64_t seed = 0;
    bool selfTest = false;
    std::string board; // of the second process: its name; not empty
};

struct EndingOptions {
    std::uint64_t cycles = 1000;
    std::uint64_t exits = 300;
    std::uint64_t lines = 50'000; // of each process in the log part
    std::uint64_t seed = 0;
    bool verbose = false;
    std::string part;               // empty: all
    std::vector<std::string> child; // the words for a process of a part
};

struct FaultOptions {
    std::vector<std::string> scenes; // empty: all
    std::string kind;                // empty: all
    std::uint64_t from = 1;
    std::uint64_t every = 1;     // of the points, one in so many
    bool only = false;           // just the point `from`
    std::uint64_t patience = 12; // seconds until a point counts as hanging
    bool list = false;
    std::string module; // empty: the built add-in
    std::string worker; // a child of the run plays this scene; the last of each option counts
    std::string behind; // the kind behind which it begins
};

struct Options {
    SoakOptions soak;
    HostileOptions hostile;
    EndingOptions endings;
    FaultOptions faults;
    std::string mode; // "soak" and so on
};

/// Reads the command line. @return the exit code when there is nothing to run: help was asked for, or the line is
/// wrong, which both have been told; -1 otherwise.
int ReadOptions(Options& options);

// Each returns the exit code. COM is initialised, except for the endings.

/// A long random run of the real module in the stand-in Outlook, against the real client process, that keeps account of
/// every message, reference and resource.
int RunSoak(SoakOptions options);

/// A second process sends the real module, in the stand-in Outlook, what any process of the desktop may send.
int RunHostile(const HostileOptions& options);
/// The second process: sends them all. @return its exit code. @throws std::runtime_error as soon as the add-in fails.
int RunSender(const HostileOptions& options);

/// Every way in which a host ends the add-in, and its log shared by several processes.
int RunEndings(const EndingOptions& options);

} // namespace verify
