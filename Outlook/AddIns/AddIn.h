#pragma once

#include "Outlook/AddIns/MeetingInfo.h"
#include "Outlook/AddIns/ModuleState.h"
#include "Outlook/AddIns/NotifyGate.h"
#include "Outlook/AddIns/OfficeInterfaces.h"
#include "Outlook/AddIns/SinkTables.h"
#include "Outlook/Business/AddinEventHandler.h"
#include "Outlook/ObjectModel/ObjectModel.h"
#include "resources/Connect.h"

// gdiplus.h wants the old min and max.
#include <algorithm>
namespace Gdiplus {
using std::max;
using std::min;
} // namespace Gdiplus
#include <objidl.h>
#include <gdiplus.h>

#include <json/value.h>

#include <atomic>
#include <functional>
#include <memory>
#include <utility>

class OwnerWindow;

/// The COM object that Outlook creates: connection to the host, ribbon, appointments and the client's notifications.
/// Every member is for the host's user-interface thread, but for the reference count and `NotifyCallback`.
/// The order of the bases fixes the interface pointers that are handed out: `IConnect` is the object's identity.
class AddIn final : public IConnect, public _IDTExtensibility2, public IRibbonExtensibility {
public:
    AddIn();

    /// Loads the type information of `IConnect`; registers the module's type library when that is not done yet.
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

    /// Carries a notification over to the user-interface thread. Any thread; touches nothing but the window handle.
    HRESULT NotifyCallback(const NotifyData& data);

    /// Turns one action into one command for the meeting client. `item` is null when the action comes from an
    /// explorer. Holds the item until it returns.
    HRESULT ActionTask(ActionType type, Outlook::_AppointmentItemPtr item);

    // What the host's events ask of the add-in (ItemLife.cpp). The two that answer false refuse the host's action.
    void OnNewExplorer(Outlook::_Explorer* explorer);
    void OnExplorerClose(Outlook::_Explorer* explorer);
    void OnNewInspector(Outlook::_InspectorPtr inspector);
    void OnInspectorClose(Outlook::_InspectorPtr inspector);
    /// @param newStatus the item's meeting status at its last write.
    bool OnAppointmentItemSend(Outlook::_AppointmentItemPtr item, int32_t newStatus);
    bool OnAppointmentItemWrite(Outlook::_AppointmentItemPtr item);
    bool OnAppointmentItemDelete(Outlook::_AppointmentItemPtr item);

    /// Runs a task later on the user-interface thread. It is lost when the notification window is gone.
    void PostTask(std::function<void()> task);

private:
    ~AddIn();

    // Connection (AddIn.cpp)
    HRESULT LoadTypeLibrary(ITypeLibPtr& library);
    HRESULT Connect(IDispatch* application);
    HRESULT TakeApplication(IDispatch* application);
    HRESULT FindActiveExplorer(Outlook::_ExplorerPtr& explorer);
    bool IsHostSupported();
    HRESULT FollowExplorers();
    HRESULT FollowInspectors();
    void ReadLanguage();
    HRESULT StartMeetingLink();
    void StartGdiplus();
    void StopGdiplus();

    // Item life (ItemLife.cpp)
    bool IsClientConnected();
    void SettleNewItem(const Outlook::_AppointmentItemPtr& item);

    // Ribbon (Ribbon.cpp, RibbonImage.cpp)
    HRESULT CustomUI(BSTR ribbonId, BSTR& xml);
    HRSRC GetRscByRibbonID(const std::wstring& ribbonId);
    std::wstring GetControlId(IDispatch* control);
    HRESULT GetInspectorForRibbon(IDispatch* control, Outlook::_InspectorPtr& inspector);
    bool GetAppointItemForRibbon(IDispatch* control, Outlook::_InspectorPtr& inspector,
                                 Outlook::_AppointmentItemPtr& item);
    HRESULT Label(IDispatch* control, BSTR& label);
    HRESULT Visible(IDispatch* control, VARIANT_BOOL& visible);
    HRESULT Enabled(IDispatch* control, VARIANT_BOOL& enable);
    HRESULT Act(IDispatch* control);
    HRESULT LoadRibbonImage(const wchar_t* imageName, IPictureDisp** image);

    // Appointments (Appointments.cpp)
    bool GetAppointmentItemComment(Outlook::_AppointmentItem* item, Json::Value& json);
    void SetAppointmentItemComment(Outlook::_AppointmentItem* item, const Json::Value& json);
    void SetAppointmentItemFlag(Outlook::_AppointmentItem* item, const char* key, bool value);
    void SetAppointmentItemString(Outlook::_AppointmentItem* item, const char* key, const std::wstring& text);
    bool IsNewItem(Outlook::_AppointmentItem* item);
    bool GetMeetingInfo(Outlook::_AppointmentItem* item, MeetingInfo& info);
    HRESULT GetAppointItemForInspector(Outlook::_Inspector* inspector, Outlook::_AppointmentItemPtr& item);
    HRESULT GetAppointItemFromEntryId(const std::wstring& entryId, Outlook::_AppointmentItemPtr& item);
    HRESULT CreateMeetingItem(Outlook::_AppointmentItemPtr& item);
    void PutMeeting(Outlook::_AppointmentItem* item, const NotifyData& data);

    // Notifications and dialogs (Notify.cpp)
    void CreateMessageWindow();
    void DestroyMessageWindow();
    void LoseMessageWindow(HWND window) noexcept;
    static LRESULT CALLBACK MessageWindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) noexcept;
    static INT_PTR CALLBACK DialogProc(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam) noexcept;
    INT_PTR ShowDialog(int chineseId, int englishId, const OwnerWindow& owner);
    void NotifyProc(const NotifyData& data);
    void OnMeetingScheduled(const NotifyData& data);
    void OnMeetingModified(const NotifyData& data);
    void OnMeetingCancelled(const NotifyData& data);
    void OnMeetingChanged(const NotifyData& data);

    bool IsChinese() const noexcept { return languageId_ == kChinese; }

    static constexpr DWORD kChinese = 2052; // Simplified Chinese; every other language gets the English texts

    ModuleState::LiveObject alive_; // first: the module must stay while the others are released
    Outlook::_ApplicationPtr application_;
    Outlook::IRibbonUIPtr ribbonUI_;
    std::atomic<HWND> messageWindow_{nullptr}; // read by the channel's thread
    ULONG_PTR gdiplusToken_ = 0;
    Gdiplus::GdiplusStartupInput gdiplusInput_;
    DWORD languageId_ = kChinese;             // also when the host cannot tell its language
    Outlook::_InspectorPtr currentInspector_; // the one in which schedule or modify was pressed last
    IEventSinkPtr explorersSink_;
    IEventSinkPtr inspectorsSink_;
    SinkTables sinks_;                          // of the open explorers, inspectors and appointments
    AddinEventHandler* eventHandler_ = nullptr; // lives as long as the module; null until connected
    std::atomic<uint32_t> refCount_{1};
    ITypeInfoPtr typeInfo_;
    std::shared_ptr<NotifyGate> gate_; // the meeting link's way to this object; outlives it
};
