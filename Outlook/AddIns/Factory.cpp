#include "Outlook/AddIns/Factory.h"

#include "Outlook/AddIns/AddIn.h"
#include "Outlook/AddIns/ComGuard.h"
#include "Outlook/AddIns/LogValues.h"
#include "Outlook/AddIns/ModuleState.h"
#include "support/LogLine.h"

namespace {

constexpr const wchar_t* kSource = L"AddIns/Factory";

} // namespace

HRESULT Factory::QueryInterface(REFIID riid, void** ppv) noexcept {
    if (ppv == nullptr) {
        return E_POINTER;
    }
    *ppv = nullptr;
    if (riid != __uuidof(IUnknown) && riid != __uuidof(IClassFactory)) {
        return E_NOINTERFACE;
    }
    AddRef();
    *ppv = static_cast<IClassFactory*>(this);
    return S_OK;
}

ULONG Factory::AddRef() noexcept {
    return ++refCount_;
}

ULONG Factory::Release() noexcept {
    const uint32_t left = --refCount_;
    if (left == 0) {
        delete this;
    }
    return left;
}

HRESULT Factory::CreateInstance(IUnknown* outer, REFIID riid, void** ppv) noexcept {
    if (ppv != nullptr) {
        *ppv = nullptr;
    }
    return GuardComCall(kSource, L"Factory::CreateInstance", [&] { return Create(outer, riid, ppv); });
}

HRESULT Factory::Create(IUnknown* outer, REFIID riid, void** ppv) {
    if (outer != nullptr) {
        LogLine(kSource, L"Factory::CreateInstance").Error() << L"composition not supported.";
        return CLASS_E_NOAGGREGATION;
    }
    if (ppv == nullptr) {
        LogLine(kSource, L"Factory::CreateInstance").Error() << L"ppvObject is nullptr.";
        return E_POINTER;
    }
    LogLine(kSource, L"Factory::CreateInstance").Info() << L"riid: " << IdText(riid);
    AddIn* addIn = new AddIn; // owned by its reference count, which is 1
    // Afterwards the caller holds the only reference, or the object is destroyed.
    const IUnknownPtr creation(static_cast<IConnect*>(addIn), false);
    HRESULT status = addIn->Init();
    if (SUCCEEDED(status)) {
        status = addIn->QueryInterface(riid, ppv);
    } else {
        LogLine(kSource, L"Factory::CreateInstance").Error()
            << L"Factory::CreateInstance AddIn.Init fail: 0x" << Hex(status);
    }
    return status;
}

HRESULT Factory::LockServer(BOOL lock) noexcept {
    return GuardComCall(kSource, L"Factory::LockServer", [lock] {
        const uint32_t count = lock ? ++ModuleState::serverLocks : --ModuleState::serverLocks;
        LogLine(kSource, L"Factory::LockServer").Info() << L"Server count: " << count;
        return S_OK;
    });
}
