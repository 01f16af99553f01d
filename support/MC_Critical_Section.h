#pragma once

#include <windows.h>

/// Recursive lock over the platform's critical section. While a process exits, Windows does not block on a section
/// whose thread was killed. It promises that for no other kind of lock. Any thread; `Init` and `Delete` are the
/// owner's.
class MC_Critical_Section {
public:
    /// @param initialise true makes the lock usable at once, false leaves that to `Init`.
    explicit MC_Critical_Section(bool initialise) noexcept;
    virtual ~MC_Critical_Section();

    MC_Critical_Section(const MC_Critical_Section&) = delete;
    MC_Critical_Section& operator=(const MC_Critical_Section&) = delete;

    virtual void Init() noexcept;
    /// Deletes the platform's object, once. The lock must not be used afterwards, only destroyed.
    virtual void Delete() noexcept;

    /// Both do nothing before `Init`.
    virtual void Lock() noexcept;
    virtual void Unlock() noexcept;

    /// @return non-zero when the lock is held now. Before `Init` there is nothing to wait for, so that is success (1).
    virtual int TryLock() noexcept;

private:
    CRITICAL_SECTION section_ = {};
    bool initialised_ = false; // since `Init`, for good
    bool alive_ = false;       // between `Init` and `Delete`
};

/// Holds a lock for the length of a scope. `lock` is not null and outlives the holder.
class MC_Lock {
public:
    explicit MC_Lock(MC_Critical_Section* lock) noexcept;
    virtual ~MC_Lock();

    MC_Lock(const MC_Lock&) = delete;
    MC_Lock& operator=(const MC_Lock&) = delete;

private:
    MC_Critical_Section* lock_;
};
