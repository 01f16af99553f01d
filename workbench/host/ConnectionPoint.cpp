#include "workbench/host/ConnectionPoint.h"

#include <new>

namespace workbench {

ConnectionPoint::ConnectionPoint(std::shared_ptr<HostCore> core, std::shared_ptr<EventSource> source, REFIID iid)
    : core_(std::move(core)), source_(std::move(source)), iid_(iid) {
    core_->ledger.Add(this, L"ConnectionPoint of " + source_->Name(), &references_);
}

ConnectionPoint::~ConnectionPoint() {
    core_->ledger.Remove(this);
}

HRESULT ConnectionPoint::QueryInterface(REFIID riid, void** object) noexcept {
    if (!object) {
        return E_POINTER;
    }
    if (riid != IID_IUnknown && riid != IID_IConnectionPoint) {
        *object = nullptr;
        return E_NOINTERFACE;
    }
    *object = static_cast<IConnectionPoint*>(this);
    AddRef();
    return S_OK;
}

ULONG ConnectionPoint::AddRef() noexcept {
    return static_cast<ULONG>(++references_);
}

ULONG ConnectionPoint::Release() noexcept {
    const long left = --references_;
    if (left == 0) {
        delete this;
    }
    return static_cast<ULONG>(left);
}

HRESULT ConnectionPoint::GetConnectionInterface(IID* iid) noexcept {
    if (!iid) {
        return E_POINTER;
    }
    *iid = iid_;
    return S_OK;
}

HRESULT ConnectionPoint::GetConnectionPointContainer(IConnectionPointContainer** container) noexcept {
    if (!container) {
        return E_POINTER;
    }
    *container = nullptr;
    return E_NOTIMPL;
}

HRESULT ConnectionPoint::Advise(IUnknown* sink, DWORD* cookie) noexcept {
    if (!sink || !cookie) {
        return E_POINTER;
    }
    *cookie = 0;
    try {
        return source_->Advise(iid_, sink, cookie);
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

HRESULT ConnectionPoint::Unadvise(DWORD cookie) noexcept {
    return source_->Unadvise(cookie);
}

HRESULT ConnectionPoint::EnumConnections(IEnumConnections** connections) noexcept {
    if (!connections) {
        return E_POINTER;
    }
    *connections = nullptr;
    return E_NOTIMPL;
}

} // namespace workbench
