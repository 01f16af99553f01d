#pragma once

#include <cstdint>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

/// How one process of the part "exits" ends. Needs no Windows.
namespace endings {

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
    Ending ending = Ending::ExitProcess;
    bool client = false;
    unsigned delay = 0; // ms of traffic before the end; for `ExitInCall` the number of the call
    unsigned code = 0;  // exit code
    std::uint32_t seed = 0;

    /// The plan number `number`; the endings come in turn.
    static ExitPlan Draw(std::uint64_t number, std::mt19937_64& random);
    std::vector<std::wstring> Orders() const;
    /// @throws OptionsError
    static ExitPlan Read(const std::vector<std::string>& orders);

    bool FromOutside() const { return ending == Ending::Terminate || ending == Ending::TerminateWhileLogging; }
    bool Logging() const { return ending == Ending::ExitWhileLogging || ending == Ending::TerminateWhileLogging; }
    std::string Text() const;
};

} // namespace endings
