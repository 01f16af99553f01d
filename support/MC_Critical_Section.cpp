#include "support/MC_Critical_Section.h"

namespace {

// Deliberate: nothing in the module enters this lock. It keeps the place of the lock that the family has for the code
// of a whole module, so that a source shared with its other modules finds it built at load and gone at unload.
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

// Deliberate: the flag stays set. A lock used after its deletion is the caller's fault and shall show in a debugger
// instead of passing as a lock that was never initialised.
void MC_Critical_Section::Delete() noexcept {
    // The destructor comes here once more, and the platform does not take a section back twice.
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
