// The least that an in-process COM server can be: the floor for loading the add-in.
#include <windows.h>
#include <unknwn.h>

#include <atomic>

namespace {

/// One reference-counted object that answers `IUnknown` and one more interface.
template <class Interface>
class Counted : public Interface {
public:
    explicit Counted(REFIID iid) noexcept : iid_(iid) {}
    virtual ~Counted() = default;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** object) noexcept override {
        if (riid != IID_IUnknown && riid != iid_) {
            *object = nullptr;
            return E_NOINTERFACE;
        }
        AddRef();
        *object = this;
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() noexcept override { return ++references_; }
    ULONG STDMETHODCALLTYPE Release() noexcept override {
        const ULONG left = --references_;
        if (left == 0) {
            delete this;
        }
        return left;
    }

private:
    IID iid_;
    std::atomic<ULONG> references_{1};
};

class Factory final : public Counted<IClassFactory> {
public:
    Factory() noexcept : Counted(IID_IClassFactory) {}

    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown*, REFIID riid, void** object) noexcept override {
        IUnknown* const made = new Counted<IUnknown>(IID_IUnknown); // freed by its last Release
        const HRESULT status = made->QueryInterface(riid, object);
        made->Release();
        return status;
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL) noexcept override { return S_OK; }
};

} // namespace

STDAPI DllGetClassObject(REFCLSID, REFIID riid, void** object) {
    IUnknown* const factory = new Factory; // freed by its last Release
    const HRESULT status = factory->QueryInterface(riid, object);
    factory->Release();
    return status;
}
