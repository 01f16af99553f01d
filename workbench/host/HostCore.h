#pragma once

#include "workbench/host/CallLog.h"
#include "workbench/host/Habits.h"
#include "workbench/host/Ledger.h"
#include "workbench/host/Observer.h"

#include <windows.h>

#include <atomic>
#include <map>
#include <mutex>
#include <string>

namespace workbench {

class OutlookHost;
class DispatchObject;

/// The state that all host objects share. It outlives the host while an object is referenced, so that a late call
/// returns a status and does not crash.
struct HostCore {
    OutlookHost* host = nullptr; // null once the host has gone
    Habits habits;
    Ledger ledger;
    CallLog calls;
    Observer observer;
    DWORD thread = 0; // the host's main thread
    std::atomic<std::size_t> wrongThreadCalls{0};
    std::atomic<unsigned> nextObject{1};
    /// The one living COM object for each thing of the host's (see Habits::distinctPointers).
    std::mutex livingLock;
    std::map<const void*, DispatchObject*> living;

    void Tell(StepKind kind, const std::wstring& text) const {
        if (observer) {
            observer(Step{kind, text});
        }
    }
};

} // namespace workbench
