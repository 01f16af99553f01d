#pragma once

#include "channel/Callbacks.h"
#include "support/MC_Critical_Section.h"

#include <atomic>
#include <cstdint>
#include <memory>

class CMessageTask;
class CWindowChannel;

/// The channel's process-wide state. Nothing here is destroyed at process exit: the channel's threads may still use it
/// then.

/// The running channel, or null. Written by `uisdk_protocol_start` and `uisdk_protocol_stop` only, read by their
/// thread.
extern CMessageTask* g_messageTask;  // the task that `GetSharedTask` owns
extern CWindowChannel* g_channelWnd; // freed by `uisdk_protocol_stop`

/// The same task for the threads that share its ownership.
struct SharedTask {
    MC_Critical_Section lock{true};
    std::shared_ptr<CMessageTask> task; // under the lock
};
SharedTask& GetSharedTask();

/// Set by `CMessageTask::Init`, never cleared. Any thread.
extern std::atomic<UisdkLogCallback> g_logCallback;

/// Time of the last tick in milliseconds. Channel thread only.
extern uint32_t g_lastTick;
