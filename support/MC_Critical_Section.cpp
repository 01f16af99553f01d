#include "support/MC_Critical_Section.h"

namespace {

// Deliberate: a lock for the whole module, which nothing enters.
MC_Critical_Section g_moduleLock(true);

} // namespace

MC_Critical_Section::MC_Critical_Section(bool initialise) noexcept {
    if (initialise) {
        MC_Critical_Section::Init();
    }
}

MC_Critical_Section::~MC_Critical_Section() {
    if (initialised_) {
        MC_Critical_Section::Delete();
    }
}

void MC_Critical_Section::Init() noexcept {
    initialised_ = true;
    alive_ = true;
    ::InitializeCriticalSection(&section_);
}

// Deliberate: the flag stays set, so that `Lock` after `Delete` is not taken for `Lock` before `Init`.
void MC_Critical_Section::Delete() noexcept {
    // The destructor calls this once more, and a section must not be deleted twice.
    if (alive_) {
        alive_ = false;
        ::DeleteCriticalSection(&section_);
    }
}

void MC_Critical_Section::Lock() noexcept {
    if (initialised_) {
        ::EnterCriticalSection(&section_);
    }
}

void MC_Critical_Section::Unlock() noexcept {
    if (initialised_) {
        ::LeaveCriticalSection(&section_);
    }
}

int MC_Critical_Section::TryLock() noexcept {
    return initialised_ ? ::TryEnterCriticalSection(&section_) : 1;
}

MC_Lock::MC_Lock(MC_Critical_Section* lock) noexcept : lock_(lock) {
    lock_->Lock();
}

MC_Lock::~MC_Lock() {
    lock_->Unlock();
}
