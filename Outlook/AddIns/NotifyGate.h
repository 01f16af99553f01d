#pragma once

#include "Outlook/Business/AddinEventHandler.h"
#include "support/MC_Critical_Section.h"

/// Passes notifications from the channel's thread to an add-in object. The channel never stops and may deliver while
/// the user disables the add-in. It holds the gate, and the add-in closes the gate before it is destroyed.
class NotifyGate {
public:
    /// @param target called under the gate's lock; it may only log and post.
    explicit NotifyGate(NotifyCallback target) noexcept : target_(std::move(target)) {}

    /// Passes the notification on while the gate is open. @return S_FALSE when it is closed. Any thread.
    HRESULT Notify(const NotifyData& data);

    /// Waits until a call in progress has ended. User-interface thread.
    void Wait() { MC_Lock lock(&lock_); }

    /// Afterwards no call is in progress and no call follows. User-interface thread.
    void Close();

private:
    // A platform critical section, because the end of the process may kill the thread that holds it.
    MC_Critical_Section lock_{true};
    NotifyCallback target_;
};
