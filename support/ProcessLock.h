#pragma once

#include "support/UniqueResource.h"

#include <windows.h>

#include <cstdint>

/// Keeps the processes of a session that write into the same file apart. It is a word of shared memory: a kernel object
/// would cost each log line more than the line itself. Nobody waits for it for good: it is taken from an owner that
/// ended with it, or that holds it for a second because it is stopped.
/// Threads of one process are not kept apart: the caller holds a lock of its own. Not recursive.
class ProcessLock {
public:
    ProcessLock() noexcept = default;
    /// @param path of the file, the same text in each process. A lock that cannot be made keeps nobody apart.
    explicit ProcessLock(const char* path) noexcept;
    ~ProcessLock();

    ProcessLock(const ProcessLock&) = delete;
    ProcessLock& operator=(const ProcessLock&) = delete;

    void Lock() noexcept;
    void Unlock() noexcept;
    /// The owner of the turn says that it is still at work: the time that it has begins anew.
    void Renew() noexcept;

private:
    bool TryTake(uint64_t seen) noexcept;
    void Wait() noexcept;

    UniqueHandle mapping_;
    uint64_t* word_ = nullptr; // low half: the owner's process id, 0 when free; high half: counts the owners
    uint64_t mine_ = 0;        // the word while this process owns it
};

/// Holds the lock for the length of a scope.
class ProcessTurn {
public:
    explicit ProcessTurn(ProcessLock& lock) noexcept : lock_(lock) { lock_.Lock(); }
    ~ProcessTurn() { lock_.Unlock(); }

    ProcessTurn(const ProcessTurn&) = delete;
    ProcessTurn& operator=(const ProcessTurn&) = delete;

private:
    ProcessLock& lock_;
};
