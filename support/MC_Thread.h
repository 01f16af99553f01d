#pragma once

#include "support/MC_Event.h"

#include <windows.h>

#include <atomic>
#include <cstdint>

/// Worker thread with a stop flag and a finished event. `Start` and `Stop` are the owner's (one thread).
class MC_Thread {
public:
    MC_Thread() noexcept;
    /// Neither waits for the thread nor ends it: the owner calls `Stop` first.
    virtual ~MC_Thread();

    MC_Thread(const MC_Thread&) = delete;
    MC_Thread& operator=(const MC_Thread&) = delete;

    /// The thread's body. It ends soon after `StopRequested` turns true; what it throws ends it silently.
    virtual void Run() = 0;

    /// Starts the thread. A finished one may be started again. Deliberate: does not check for a thread that still runs.
    /// @return true when a thread was created.
    bool Start() noexcept;

    /// Asks the thread to end and waits. A thread that does not end in time is terminated by force and may leave locks
    /// and memory behind. On the worker itself a wait without end is refused (false).
    /// @param milliseconds time-out; 0xFFFFFFFF waits without end.
    /// @return true when the thread ended in time or none ran.
    bool Stop(uint32_t milliseconds) noexcept;

    /// True on the worker thread itself.
    bool IsCurrentThread() const noexcept;

    /// Null and 0 while no thread runs. The handle stays the object's and is closed when the thread ends.
    HANDLE GetHandle() const noexcept;
    uint32_t GetThreadId() const noexcept;

protected:
    bool StopRequested() const noexcept { return stop_.load(std::memory_order_acquire); }

private:
    static DWORD WINAPI Entry(void* object) noexcept;
    void Finish() noexcept;

    std::atomic<HANDLE> handle_{nullptr};
    std::atomic<bool> stop_{false};
    MC_Event finished_;          // signalled whenever no thread runs
    mutable DWORD threadId_ = 0; // written by the platform and by the thread, hence read as an atomic
};
