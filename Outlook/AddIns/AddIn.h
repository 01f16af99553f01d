#pragma once

#include "Outlook/AddIns/GdiplusSession.h"
#include "Outlook/AddIns/Language.h"
#include "Outlook/AddIns/ModuleState.h"
#include "Outlook/AddIns/NotifyGate.h"
#include "Outlook/AddIns/OfficeInterfaces.h"
#include "Outlook/AddIns/SinkTables.h"
#include "Outlook/AddIns/TaskWindow.h"
#include "Outlook/Business/AddinEventHandler.h"
#include "Outlook/ObjectModel/ObjectModel.h"
#include "resources/Connect.h"

#include <atomic>
#include <memory>

/// The COM object that Outlook creates: connection to the host, ribbon, appointments and the client's notifications.
/// User-interface thread only, except the reference count and `NotifyCallback`.
/// The order of the bases fixes the interface pointers that callers receive: `IConnect` is the object's identity.
class AddIn final : public IConnect, public _IDTExtensibility2, public IRibbonExtensibility {
public:
    AddIn();

    /// Loads the type information of `IConnect`. Registers the module's type library when it is not registered yet.
    HRESULT Init();

    // IUnknown
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppv) noexcept override;
    ULONG STDMETHODCALLTYPE AddRef() noexcept override;
    ULONG STDMETHODCALLTYPE Release() noexcept override;

    // IDispatch over the type library
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* pctinfo) noexcept override;
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, LCID lcid, ITypeInfo** ppTInfo) noexcept override;
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID riid, LPOLESTR* names, UINT count, LCID lcid,
                                            DISPID* dispids) noexcept override;
    HRESULT STDMETHODCALLTYPE Invoke(DISPID dispid, REFIID riid, LCID lcid, WORD flags, DISPPARAMS* params,
                                     VARIANT* result, EXCEPINFO* excepInfo, UINT* argErr) noexcept override;

    // IConnect: the ribbon's callbacks
    HRESULT STDMETHODCALLTYPE OnAction(IDispatch* control) noexcept override;
    HRESULT STDMETHODCALLTYPE GetLabel(IDispatch* control, BSTR* label) noexcept override;
    HRESULT STDMETHODCALLTYPE GetVisible(IDispatch* control, VARIANT_BOOL* visible) noexcept override;
    HRESULT STDMETHODCALLTYPE GetEnable(IDispatch* control, VARIANT_BOOL* enable) noexcept override;
    HRESULT STDMETHODCALLTYPE OnLoadImage(BSTR imageName, IPictureDisp** image) noexcept override;
    HRESULT STDMETHODCALLTYPE OnLoad(IDispatch* ribbon) noexcept override;

    // _IDTExtensibility2
    HRESULT STDMETHODCALLTYPE OnConnection(IDispatch* application, ext_ConnectMode connectMode, IDispatch* addInInst,
                                           SAFEARRAY** custom) noexcept override;
    HRESULT STDMETHODCALLTYPE OnDisconnection(ext_DisconnectMode removeMode, SAFEARRAY** custom) noexcept override;
    HRESULT STDMETHODCALLTYPE OnAddInsUpdate(SAFEARRAY** custom) noexcept override;
    HRESULT STDMETHODCALLTYPE OnStartupComplete(SAFEARRAY** custom) noexcept override;
    HRESULT STDMETHODCALLTYPE OnBeginShutdown(SAFEARRAY** custom) noexcept override;

    // IRibbonExtensibility
    HRESULT STDMETHODCALLTYPE GetCustomUI(BSTR ribbonId, BSTR* xml) noexcept override;

    /// Passes a notification on to the user-interface thread. Any thread. Uses only the window handle.
    HRESULT NotifyCallback(const NotifyData& data);

    /// Sends one action to the meeting client as one command. `item` is null when the action comes from an explorer.
    /// The call holds a reference on the item.
    HRESULT ActionTask(ActionType type, Outlook::_AppointmentItemPtr item);

    // The handlers of the host's events (ItemLife.cpp). A handler that returns false refuses the host's action.
    void OnNewExplorer(Outlook::_Explorer* explorer);
    void OnExplorerClose(Outlook::_Explorer* explorer);
    void OnNewInspector(Outlook::_InspectorPtr inspector);
    void OnInspectorClose(Outlook::_InspectorPtr inspector);
    /// @param newStatus the item's meeting status at its last write.
    bool OnAppointmentItemSend(Outlook::_AppointmentItemPtr item, int32_t newStatus);
    bool OnAppointmentItemWrite(Outlook::_AppointmentItemPtr item);
    bool OnAppointmentItemDelete(Outlook::_AppointmentItemPtr item);

private:
    ~AddIn();

    // Connection (AddIn.cpp)
    HRESULT Connect(IDispatch* application);
    HRESULT TakeApplication(IDispatch* application);
    HRESULT FindActiveExplorer(Outlook::_ExplorerPtr& explorer);
    HRESULT FollowExplorers();
    HRESULT FollowInspectors();
    HRESULT StartMeetingLink();

    // Ribbon callbacks (Ribbon.cpp)
    HRESULT Label(IDispatch* control, BSTR& label);
    HRESULT PressControl(IDispatch* control);

    // Notifications (Notify.cpp)
    void NotifyProc(const NotifyData& data);
    void OnMeetingScheduled(const NotifyData& data);
    void OnMeetingModified(const NotifyData& data);
    void OnMeetingCancelled(const NotifyData& data);
    void OnMeetingChanged(const NotifyData& data);

    // Item life (ItemLife.cpp)
    bool IsClientConnected();
    void SettleNewItem(const Outlook::_AppointmentItemPtr& item);

    ModuleState::LiveObject
        alive_; // first member, so destroyed last: the module must stay loaded while the others are released
    Outlook::_ApplicationPtr application_;
    Outlook::IRibbonUIPtr ribbonUI_;
    std::shared_ptr<NotifyGate> gate_; // the meeting link reaches this object through it; the link may keep it longer
    TaskWindow taskWindow_;
    ULONG_PTR gdiplusToken_ = 0;
    Gdiplus::GdiplusStartupInput gdiplusInput_;
    DWORD languageId_ = kSimplifiedChinese;   // the value when the host does not report its language
    Outlook::_InspectorPtr currentInspector_; // where "Schedule" or "Settings" was pressed last
    IEventSinkPtr explorersSink_;
    IEventSinkPtr inspectorsSink_;
    SinkTables sinks_;                          // of the open explorers, inspectors and appointments
    AddinEventHandler* eventHandler_ = nullptr; // lives as long as the module; null until connected
    std::atomic<uint32_t> refCount_{1};
    ITypeInfoPtr typeInfo_;
};

/// Keeps an add-in alive while one of its handlers runs: a handler can pump messages, and the host may release the
/// add-in meanwhile.
using AddInPtr = _com_ptr_t<_com_IIID<AddIn, &IID_IConnect>>;
