#pragma once

#include "bench/HandLog.h"
#include "resources/Connect.h"
#include "workbench/host/ComHeaders.h"

namespace bench {

/// An object of the add-in's dispatch interface whose methods do nothing: what a call costs by itself. Lives on the
/// stack; its reference count is for show.
class EmptyConnect : public IConnect {
public:
    explicit EmptyConnect(ITypeInfo* typeInfo) : typeInfo_(typeInfo) {}
    virtual ~EmptyConnect() = default;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** object) noexcept override {
        const bool known = riid == IID_IUnknown || riid == IID_IDispatch || riid == IID_IConnect;
        *object = known ? this : nullptr;
        return known ? S_OK : E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() noexcept override { return 2; }
    ULONG STDMETHODCALLTYPE Release() noexcept override { return 1; }
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) noexcept override { return *count = 1, S_OK; }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo** info) noexcept override {
        return typeInfo_.QueryInterface(IID_ITypeInfo, info);
    }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) noexcept override {
        return typeInfo_.GetInterfacePtr()->GetIDsOfNames(names, count, ids);
    }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* params, VARIANT* result,
                                     EXCEPINFO* exception, UINT* argument) noexcept override {
        return typeInfo_.GetInterfacePtr()->Invoke(static_cast<IConnect*>(this), id, flags, params, result, exception,
                                                   argument);
    }

    HRESULT STDMETHODCALLTYPE OnAction(IDispatch*) noexcept override { return S_OK; }
    HRESULT STDMETHODCALLTYPE GetLabel(IDispatch*, BSTR* label) noexcept override { return *label = nullptr, S_OK; }
    HRESULT STDMETHODCALLTYPE GetVisible(IDispatch*, VARIANT_BOOL* visible) noexcept override {
        return *visible = VARIANT_TRUE, S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetEnable(IDispatch*, VARIANT_BOOL* enable) noexcept override {
        return *enable = VARIANT_TRUE, S_OK;
    }
    HRESULT STDMETHODCALLTYPE OnLoadImage(BSTR, IPictureDisp** image) noexcept override {
        return *image = nullptr, S_OK;
    }
    HRESULT STDMETHODCALLTYPE OnLoad(IDispatch*) noexcept override { return S_OK; }

private:
    _com_ptr_t<workbench::NamedInterface<ITypeInfo, &IID_ITypeInfo>> typeInfo_;
};

/// The same with the calls into host and platform that no implementation of these methods can avoid, and nothing else.
class PlatformConnect final : public EmptyConnect {
public:
    /// @param module with the resources. @param log takes the line that the visibility and enablement of a button of
    /// the main window leave in the add-in's log.
    PlatformConnect(ITypeInfo* typeInfo, HMODULE module, HandLog& log);

    HRESULT STDMETHODCALLTYPE GetLabel(IDispatch* control, BSTR* label) noexcept override;
    HRESULT STDMETHODCALLTYPE GetVisible(IDispatch* control, VARIANT_BOOL* visible) noexcept override;
    HRESULT STDMETHODCALLTYPE GetEnable(IDispatch* control, VARIANT_BOOL* enable) noexcept override;
    HRESULT STDMETHODCALLTYPE OnLoadImage(BSTR name, IPictureDisp** image) noexcept override;

private:
    // GDI+ through its flat interface: a program that linked it would have it loaded before the add-in needs it.
    using CreateBitmap = int(WINAPI*)(IStream* stream, void** bitmap);
    using CreateHandle = int(WINAPI*)(void* bitmap, HBITMAP* handle, DWORD background);
    using DisposeImage = int(WINAPI*)(void* bitmap);

    VARIANT_BOOL AnswerFor(IDispatch* control);

    HMODULE module_;
    HandLog& log_;
    CreateBitmap createBitmap_;
    CreateHandle createHandle_;
    DisposeImage disposeImage_;
};

} // namespace bench
