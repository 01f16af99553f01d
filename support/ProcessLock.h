#pragma once

#include "support/UniqueResource.h"

#include <windows.h>

#include <array>

/// Serialises the processes of a session that write to the same file: a named mutex. An owner that exits inside it
/// releases it. A lock that cannot be made or opened, because another object has its name for instance, excludes
/// nobody. Belongs to the thread that took it. The caller serialises the threads of its process. Not recursive.
class ProcessLock {
public:
    /// The name of the mutex for a path, which is the same text in each process.
    static std::array<wchar_t, 48> NameOf(const char* path) noexcept;

    ProcessLock() noexcept = default;
    explicit ProcessLock(const char* path) noexcept;

    /// @param mayWait allows a wait of up to 100 ms.
    /// @return false when another process owns the lock.
    bool Lock(bool mayWait) noexcept;
    /// Does nothing when `Lock` has failed.
    void Unlock() noexcept;

private:
    UniqueHandle mutex_;
    bool owned_ = false;
};

/// Takes the lock, or tries to, for the length of a scope.
class ProcessLockScope {
public:
    ProcessLockScope(ProcessLock& lock, bool mayWait) noexcept : lock_(lock), owned_(lock.Lock(mayWait)) {}
    ~ProcessLockScope() { lock_.Unlock(); }

    ProcessLockScope(const ProcessLockScope&) = delete;
    ProcessLockScope& operator=(const ProcessLockScope&) = delete;

    bool Owned() const noexcept { return owned_; }

private:
    ProcessLock& lock_;
    bool owned_;
};
