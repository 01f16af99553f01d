#pragma once

#include <oaidl.h>

/// The two Office interfaces that the add-in implements and the host calls by v-table.

#ifndef __CRT_UUID_DECL
#define __CRT_UUID_DECL(type, ...)
#endif

/// How the add-in was loaded, and why it is disconnected. The add-in reads neither.
enum ext_ConnectMode : long {
    ext_cm_AfterStartup = 0,
    ext_cm_Startup = 1,
    ext_cm_External = 2,
    ext_cm_CommandLine = 3
};
enum ext_DisconnectMode : long { ext_dm_HostShutdown = 0, ext_dm_UserClosed = 1 };

MIDL_INTERFACE("B65AD801-ABAF-11D0-BB8B-00A0C90F2744")
_IDTExtensibility2 : public IDispatch {
    virtual HRESULT STDMETHODCALLTYPE OnConnection(IDispatch * application, ext_ConnectMode connectMode,
                                                   IDispatch * addInInst, SAFEARRAY * *custom) = 0;
    virtual HRESULT STDMETHODCALLTYPE OnDisconnection(ext_DisconnectMode removeMode, SAFEARRAY * *custom) = 0;
    virtual HRESULT STDMETHODCALLTYPE OnAddInsUpdate(SAFEARRAY * *custom) = 0;
    virtual HRESULT STDMETHODCALLTYPE OnStartupComplete(SAFEARRAY * *custom) = 0;
    virtual HRESULT STDMETHODCALLTYPE OnBeginShutdown(SAFEARRAY * *custom) = 0;
};
__CRT_UUID_DECL(_IDTExtensibility2, 0xB65AD801, 0xABAF, 0x11D0, 0xBB, 0x8B, 0x00, 0xA0, 0xC9, 0x0F, 0x27, 0x44)

MIDL_INTERFACE("000C0396-0000-0000-C000-000000000046")
IRibbonExtensibility : public IDispatch {
    virtual HRESULT STDMETHODCALLTYPE GetCustomUI(BSTR ribbonId, BSTR * xml) = 0;
};
__CRT_UUID_DECL(IRibbonExtensibility, 0x000C0396, 0, 0, 0xC0, 0, 0, 0, 0, 0, 0, 0x46)
