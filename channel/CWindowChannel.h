#pragma once

#include "channel/IProcessMessage.h"
#include "support/MC_Thread.h"

/// The channel thread: drives the task's ticks every 20 ms, and with them every queued send and receive callback.
/// There is at most one.
class CWindowChannel final : public MC_Thread {
public:
    /// @param task outlives the channel and is not owned; null makes idle ticks.
    explicit CWindowChannel(IProcessMessage* task) noexcept : task_(task) {}

protected:
    /// Ends soon after the stop flag, with 15 last passes so that waiting messages still leave and arrive.
    void Run() override;

private:
    void Tick() noexcept;
    void Flush() noexcept;

    IProcessMessage* task_;
};
