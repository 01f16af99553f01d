#pragma once

#include "Outlook/Business/Records.h"
#include "support/MC_Critical_Section.h"

#include <windows.h>

class AddIn;

/// The way from the channel's thread to an add-in object. The channel is never stopped and may deliver while the
/// add-in is being switched off; it holds the gate, which the add-in closes before it goes. A platform critical
/// section, because process exit may kill the thread that holds it.
class NotifyGate {
public:
    explicit NotifyGate(AddIn* addIn) noexcept : addIn_(addIn) {}

    /// Passes the notification on while the gate is open. The add-in only logs and posts within.
    HRESULT Notify(const NotifyData& data);

    /// Returns when a call that is under way has ended. User-interface thread.
    void Wait() { MC_Lock lock(&lock_); }

    /// After this no call is under way and none will come. User-interface thread.
    void Close();

private:
    MC_Critical_Section lock_{true};
    AddIn* addIn_;
};
