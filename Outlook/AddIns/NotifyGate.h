#pragma once

#include "Outlook/Business/AddinEventHandler.h"
#include "support/MC_Critical_Section.h"

/// The way from the channel's thread to an add-in object. The channel is never stopped and may deliver while the add-in
/// is being switched off. It holds the gate, which the add-in closes before it ends.
class NotifyGate {
public:
    /// @param target called under the gate's lock; it may only log and post.
    explicit NotifyGate(NotifyCallback target) noexcept : target_(std::move(target)) {}

    /// Passes the notification on while the gate is open. @return S_FALSE when it is closed. Any thread.
    HRESULT Notify(const NotifyData& data);

    /// Returns when a call that is under way has ended. User-interface thread.
    void Wait() { MC_Lock lock(&lock_); }

    /// After this no call is under way and none will come. User-interface thread.
    void Close();

private:
    // A platform critical section, because the end of the process may kill the thread that holds it.
    MC_Critical_Section lock_{true};
    NotifyCallback target_;
};
