#pragma once

#include "workbench/host/ComHeaders.h"
#include "workbench/host/OfficeIds.h"
#include "workbench/host/OfficeInterfaces.h"

#include <atomic>
#include <functional>
#include <map>
#include <string>
#include <vector>

/// The partners for tests of the stand-in host: an event sink and an add-in, both on the stack of the test.
namespace workbench {

/// A sink that records what arrives. Its references must be back when it dies.
class FakeSink : public IDispatch {
public:
    explicit FakeSink(REFIID iid) : iid_(iid) {}

    struct Seen {
        DISPID event;
        std::vector<VARTYPE> types; // of rgvarg, as they lie
    };
    std::vector<Seen> seen;
    std::function<void(DISPID, DISPPARAMS&)> onEvent;
    std::atomic<long> references{0};

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** object) override {
        const bool known = riid == IID_IUnknown || riid == IID_IDispatch || riid == iid_;
        *object = known ? static_cast<IDispatch*>(this) : nullptr;
        references += known ? 1 : 0;
        return known ? S_OK : E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return static_cast<ULONG>(++references); }
    ULONG STDMETHODCALLTYPE Release() override { return static_cast<ULONG>(--references); }
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID event, REFIID, LCID, WORD, DISPPARAMS* params, VARIANT*, EXCEPINFO*,
                                     UINT*) override {
        Seen one{event, {}};
        for (UINT i = 0; i < params->cArgs; ++i) {
            one.types.push_back(params->rgvarg[i].vt);
        }
        seen.push_back(one);
        if (onEvent) {
            onEvent(event, *params);
        }
        return S_OK;
    }

private:
    GUID iid_;
};

/// An add-in whose ribbon callbacks are functions of the test, reached by name.
class FakeAddIn : public IAddInConnection, public IRibbonExtensibility {
public:
    using Callback = std::function<HRESULT(const VARIANT& argument, VARIANT& result)>;

    std::wstring xml;
    std::map<std::wstring, Callback> callbacks;
    HRESULT connectResult = S_OK;
    std::vector<std::wstring> calls;
    std::atomic<long> references{0};

    IUnknown* Unknown() { return static_cast<IAddInConnection*>(this); }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** object) override {
        *object = nullptr;
        if (riid == IID_IUnknown || riid == IID_IDispatch || riid == kIidDtExtensibility2) {
            *object = static_cast<IAddInConnection*>(this);
        } else if (riid == kIidRibbonExtensibility) {
            *object = static_cast<IRibbonExtensibility*>(this);
        }
        references += *object ? 1 : 0;
        return *object ? S_OK : E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return static_cast<ULONG>(++references); }
    ULONG STDMETHODCALLTYPE Release() override { return static_cast<ULONG>(--references); }
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR* names, UINT, LCID, DISPID* ids) override {
        const auto found = callbacks.find(names[0]);
        ids[0] = static_cast<DISPID>(std::distance(callbacks.begin(), found));
        return found == callbacks.end() ? DISP_E_UNKNOWNNAME : S_OK;
    }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* params, VARIANT* result,
                                     EXCEPINFO*, UINT*) override {
        if (flags != DISPATCH_METHOD || params->cArgs != 1 || params->cNamedArgs != 0) {
            return DISP_E_BADPARAMCOUNT;
        }
        const auto callback = std::next(callbacks.begin(), id);
        calls.push_back(callback->first);
        return callback->second(params->rgvarg[0], *result);
    }

    HRESULT STDMETHODCALLTYPE OnConnection(IDispatch* application, int, IDispatch* instance,
                                           SAFEARRAY** custom) override {
        calls.push_back(application && instance && custom ? L"OnConnection" : L"OnConnection with null");
        return connectResult;
    }
    HRESULT STDMETHODCALLTYPE OnDisconnection(int, SAFEARRAY**) override { return Note(L"OnDisconnection"); }
    HRESULT STDMETHODCALLTYPE OnAddInsUpdate(SAFEARRAY**) override { return Note(L"OnAddInsUpdate"); }
    HRESULT STDMETHODCALLTYPE OnStartupComplete(SAFEARRAY**) override { return Note(L"OnStartupComplete"); }
    HRESULT STDMETHODCALLTYPE OnBeginShutdown(SAFEARRAY**) override { return Note(L"OnBeginShutdown"); }

    HRESULT STDMETHODCALLTYPE GetCustomUI(BSTR, BSTR* ribbonXml) override {
        *ribbonXml = ::SysAllocStringLen(xml.data(), static_cast<UINT>(xml.size()));
        return Note(L"GetCustomUI");
    }

private:
    HRESULT Note(const wchar_t* call) {
        calls.push_back(call);
        return S_OK;
    }
};

} // namespace workbench
