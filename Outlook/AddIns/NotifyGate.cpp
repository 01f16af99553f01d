#include "Outlook/AddIns/NotifyGate.h"

HRESULT NotifyGate::Notify(const NotifyData& data) {
    MC_Lock lock(&lock_);
    return target_ ? target_(data) : S_FALSE;
}

void NotifyGate::Close() {
    MC_Lock lock(&lock_);
    target_ = nullptr;
}
