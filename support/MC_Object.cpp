#include "support/MC_Object.h"

uint16_t MC_Object::AddRef() noexcept {
    return ++refCount_;
}

uint16_t MC_Object::Release() noexcept {
    const uint16_t left = --refCount_;
    if (left == 0) {
        delete this; // Made with `new` by whoever held the first reference.
    }
    return left;
}

void MC_Object::OnNotify(uint32_t, uint64_t) {}

void MC_Object::OnIdle() {}

uint16_t MC_Object::GetRefCount() const noexcept {
    return refCount_;
}

uint16_t MC_ObjectX::AddRef() noexcept {
    const MC_Lock lock(&lock_);
    return ++refCount_;
}

uint16_t MC_ObjectX::Release() noexcept {
    uint16_t left = 0;
    {
        // The scope ends before the object does: the lock is one of its members.
        const MC_Lock lock(&lock_);
        if (refCount_ == 0) {
            return 0;
        }
        left = --refCount_;
    }
    if (left == 0) {
        delete this; // Made with `new` by whoever held the first reference.
    }
    return left;
}
