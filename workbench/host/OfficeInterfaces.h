#pragma once

#include "workbench/host/ComHeaders.h"

/// The two interfaces through which the host calls an add-in by v-table. The order of members is the contract.
namespace workbench {

struct IAddInConnection : IDispatch { // _IDTExtensibility2
    virtual HRESULT STDMETHODCALLTYPE OnConnection(IDispatch* application, int connectMode, IDispatch* addInInst,
                                                   SAFEARRAY** custom) = 0;
    virtual HRESULT STDMETHODCALLTYPE OnDisconnection(int removeMode, SAFEARRAY** custom) = 0;
    virtual HRESULT STDMETHODCALLTYPE OnAddInsUpdate(SAFEARRAY** custom) = 0;
    virtual HRESULT STDMETHODCALLTYPE OnStartupComplete(SAFEARRAY** custom) = 0;
    virtual HRESULT STDMETHODCALLTYPE OnBeginShutdown(SAFEARRAY** custom) = 0;

protected:
    ~IAddInConnection() = default;
};

struct IRibbonExtensibility : IDispatch {
    virtual HRESULT STDMETHODCALLTYPE GetCustomUI(BSTR ribbonId, BSTR* ribbonXml) = 0;

protected:
    ~IRibbonExtensibility() = default;
};

} // namespace workbench
