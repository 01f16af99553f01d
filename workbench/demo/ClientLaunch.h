#pragma once

#include "workbench/demo/Stage.h"

#include <filesystem>

namespace demo {

/// While it lives the launch URI of the user of this machine starts the stand-in client.
class ClientLaunch {
public:
    explicit ClientLaunch(Stage& stage);
    ~ClientLaunch();
    ClientLaunch(const ClientLaunch&) = delete;
    ClientLaunch& operator=(const ClientLaunch&) = delete;

    /// Waits for the process that the add-in started, and until its user has logged in.
    void AwaitClient();

private:
    Stage& stage_;
    const std::filesystem::path transcript_;
};

} // namespace demo
