#pragma once

#include "workbench/client/ClientProcess.h"
#include "workbench/host/OutlookHost.h"

#include <CLI/CLI.hpp>

#include <functional>
#include <memory>

namespace interactive {

struct Options {
    bool chinese = false; ///< language of the stand-in Outlook
    bool verbose = false; ///< also print every call, event and ribbon callback
    DATE now = 0;         ///< UTC; new appointments start then. 0: the next full half hour
};

/// The stand-in Outlook with the add-in and the stand-in client, on the screen and in the user's hands. Main thread.
class Session {
public:
    /// Opens the windows. @throws std::runtime_error when something needed is missing.
    explicit Session(const Options& options);
    ~Session();

    workbench::OutlookHost& Outlook() { return outlook_; }
    meeting_client::ClientProcess& Client() { return *client_; }

    /// Handles the user's input until the user has closed all windows of Outlook, or until `done`.
    /// @return whether `done` became true.
    bool Run(const std::function<bool()>& done = [] { return false; });

private:
    bool TakesKey(MSG& message);

    UINT_PTR logTimer_; // prints what the add-in adds to its log, also while one of its dialogs is open
    workbench::OutlookHost outlook_;
    std::unique_ptr<meeting_client::ClientProcess> client_;
};

/// Describes the command line. Parsing it fills `options`.
void Describe(CLI::App& app, Options& options);

/// Opens the windows and runs until the user has closed them. @return the exit code. COM must be initialised.
int Play(const Options& options);

} // namespace interactive
