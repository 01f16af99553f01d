#pragma once

#include "channel/IProcessMessage.h"
#include "support/MC_Thread.h"

/// The channel thread. It drives the task's ticks, and with them every queued send and every receive callback, with a
/// pause of `kTickMs` in between. At most one exists.
class CWindowChannel final : public MC_Thread {
public:
    /// @param task is not owned and must outlive the channel. With null the ticks do nothing.
    explicit CWindowChannel(IProcessMessage* task) noexcept : task_(task) {}

protected:
    /// After the stop flag it makes 15 more passes, so that waiting messages are still sent and received.
    void Run() override;

private:
    void Tick() noexcept;
    void Flush() noexcept;

    IProcessMessage* task_;
};
