#pragma once

#include "workbench/check_client/Checker.h"

namespace check_client {

/// The stand-in client with its launch URI registered, to try the checker. One at a time.
class StandIn {
public:
    /// @param arguments for the client besides those that it needs here. @throws std::runtime_error.
    StandIn(std::vector<std::wstring> arguments, std::chrono::milliseconds limit);
    ~StandIn();
    StandIn(const StandIn&) = delete;
    StandIn& operator=(const StandIn&) = delete;

    Settings settings; ///< for the check
};

} // namespace check_client
