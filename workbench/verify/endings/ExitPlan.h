#pragma once

#include <cstdint>
#include <random>
#include <string>

/// How one process of the part "exits" ends. Needs no Windows.
namespace verify {

enum class Ending {
    ExitProcess,
    ReturnFromMain,
    Terminate, // from outside
    ExitInDialog,
    ExitWhileSending, // to a client that hangs
    ExitWhileLogging, // other threads write into the log
    TerminateWhileLogging,
    ExitFromThread, // a second one
    ExitInCall,     // inside a call of the add-in to the host
    ReturnAfterDisconnect,
    ExitAfterDisconnect,
    Count
};

const char* NameOf(Ending ending);

struct ExitPlan {
    /// The plan number `number` of that seed; the endings come in turn.
    ExitPlan(std::uint64_t number, std::uint64_t seed);

    std::mt19937_64 random;
    Ending ending;
    bool client;    // it is there
    unsigned delay; // ms of traffic before the end; for `ExitInCall` the number of the call
    unsigned code;  // exit code

    bool FromOutside() const { return ending == Ending::Terminate || ending == Ending::TerminateWhileLogging; }
    bool Logging() const { return ending == Ending::ExitWhileLogging || ending == Ending::TerminateWhileLogging; }
    std::string Text() const;
};

} // namespace verify
