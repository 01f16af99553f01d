#include "workbench/host/ApplicationClass.h"

#include "workbench/host/OfficeIds.h"
#include "workbench/host/OutlookHost.h"

#include <atomic>

namespace workbench {
namespace {

class Factory final : public IClassFactory {
public:
    explicit Factory(std::shared_ptr<HostCore> core) : core_(std::move(core)) {}

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** object) noexcept override {
        if (!object) {
            return E_POINTER;
        }
        *object = riid == IID_IUnknown || riid == IID_IClassFactory ? static_cast<IClassFactory*>(this) : nullptr;
        if (!*object) {
            return E_NOINTERFACE;
        }
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() noexcept override { return static_cast<ULONG>(++references_); }
    ULONG STDMETHODCALLTYPE Release() noexcept override {
        const long left = --references_;
        if (left == 0) {
            delete this;
        }
        return static_cast<ULONG>(left);
    }
    /// There is one application for all callers.
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID riid, void** object) noexcept override {
        if (!object) {
            return E_POINTER;
        }
        *object = nullptr;
        if (outer || !core_->host) {
            return outer ? CLASS_E_NOAGGREGATION : CO_E_SERVER_STOPPING;
        }
        try {
            return core_->host->Application()->QueryInterface(riid, object);
        } catch (...) {
            return E_OUTOFMEMORY;
        }
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL) noexcept override { return S_OK; }

private:
    ~Factory() = default;

    std::shared_ptr<HostCore> core_;
    std::atomic<long> references_{1};
};

} // namespace

ApplicationClass::ApplicationClass(OutlookHost& host) {
    auto* factory = new Factory(host.Core());
    const HRESULT status =
        ::CoRegisterClassObject(kClsidApplication, factory, CLSCTX_LOCAL_SERVER, REGCLS_MULTIPLEUSE, &cookie_);
    factory->Release();
    if (FAILED(status)) {
        throw _com_error(status);
    }
}

ApplicationClass::~ApplicationClass() {
    ::CoRevokeClassObject(cookie_);
}

} // namespace workbench
