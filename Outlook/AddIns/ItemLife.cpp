#include "Outlook/AddIns/AddIn.h"

#include "Outlook/AddIns/ControlIds.h"
#include "Outlook/AddIns/EventSinks.h"
#include "Outlook/AddIns/LogText.h"
#include "Outlook/AddIns/Marker.h"
#include "Outlook/AddIns/OwnerWindow.h"
#include "resources/resource.h"
#include "support/LogLine.h"

namespace {

constexpr const wchar_t* kSource = L"AddIns/AddIn"; // one label for the whole class in the log

/// Runs its body at the end of the scope, whichever way the scope ends.
template <class Body>
class AtScopeEnd {
public:
    explicit AtScopeEnd(Body body) : body_(std::move(body)) {}
    ~AtScopeEnd() { body_(); }
    AtScopeEnd(const AtScopeEnd&) = delete;
    AtScopeEnd& operator=(const AtScopeEnd&) = delete;

private:
    Body body_;
};

/// The appointment that an inspector shows. Mail and other windows answer E_NOINTERFACE.
HRESULT GetAppointment(const wchar_t* method, Outlook::_Inspector* inspector, Outlook::_AppointmentItemPtr& item) {
    IDispatchPtr current;
    const HRESULT status = Outlook::GetCurrentItem(inspector, current);
    if (FAILED(status)) {
        LogLine(kSource, method).Warning() << L"get cureent item fail: 0x" << Hex(status);
        return status;
    }
    // Deliberate: a window without an item is none of ours, and no error.
    if (!current || FAILED(current->QueryInterface(&item))) {
        LogLine(kSource, method).Info() << L"Not appointment item.";
        return E_NOINTERFACE;
    }
    return S_OK;
}

} // namespace

void AddIn::OnNewExplorer(Outlook::_Explorer* explorer) {
    if (explorer == nullptr) {
        return;
    }
    if (const IEventSinkPtr known = sinks_.FindExplorer(explorer)) {
        known->Advise(explorer); // A sink that could not be connected is tried again.
        return;
    }
    sinks_.AddExplorer(explorer, MakeSink<ExplorerEventsSink>(this, explorer));
}

void AddIn::OnExplorerClose(Outlook::_Explorer* explorer) {
    sinks_.RemoveExplorer(explorer);
}

void AddIn::OnNewInspector(Outlook::_InspectorPtr inspector) {
    Outlook::_AppointmentItemPtr item;
    if (FAILED(GetAppointment(L"AddIn::OnNewInspector", inspector, item))) {
        return;
    }
    // Connecting a sink can pump messages, and another window of the item may close meanwhile. So this window is
    // counted for the item before the item's own sink is looked for: from then on that sink stays as long as this
    // window.
    if (const IEventSinkPtr known = sinks_.FindInspector(inspector)) {
        known->Advise(inspector); // A sink that could not be connected is tried again.
    } else {
        sinks_.AddInspector(inspector, MakeSink<InspectorEventsSink>(this, inspector), item);
    }
    if (const IEventSinkPtr known = sinks_.FindItem(item)) {
        known->Advise(item);
    } else {
        sinks_.AddItem(item, MakeSink<ItemEventsSink>(this, item));
    }
}

void AddIn::OnInspectorClose(Outlook::_InspectorPtr inspector) {
    IUnknown* const itemIdentity = sinks_.RemoveInspector(inspector);
    // The item's sink goes in any case: one that stayed would keep the item, and through it the host, alive.
    const AtScopeEnd removal([&] { sinks_.RemoveItem(itemIdentity); });
    Outlook::_AppointmentItemPtr item;
    if (SUCCEEDED(GetAppointment(L"AddIn::OnInspectorClose", inspector, item))) {
        SettleNewItem(item);
    }
}

/// Tells the client once what became of an appointment that the add-in has filled.
void AddIn::SettleNewItem(const Outlook::_AppointmentItemPtr& item) {
    bool saved = false;
    // An item whose state cannot be read must not count as discarded: a cancelled meeting does not come back.
    if (FAILED(Outlook::GetSaved(item, saved)) || !IsNewItem(item)) {
        return;
    }
    if (saved) {
        ActionTask(ActionType::ModifyMeeting, item);
        SetAppointmentItemFlag(item, Marker::kIsNewItem, false);
    } else {
        ActionTask(ActionType::CancelMeeting, item); // The user discarded it.
    }
}

bool AddIn::IsClientConnected() {
    return eventHandler_ != nullptr && eventHandler_->IsClientConnected();
}

bool AddIn::OnAppointmentItemSend(Outlook::_AppointmentItemPtr item, int32_t newStatus) {
    MeetingInfo info;
    GetMeetingInfo(item, info);
    const bool connected = IsClientConnected();
    // Deliberate: "old" is the status read now and "new" the one of the last write; readers of the log know them so.
    LogLine(kSource, L"AddIn::OnAppointmentItemSend").Info()
        << L"isNembraMeeting: " << info.isMeetingItem << L", isAlive: " << connected << L", oldStatus: "
        << info.meetingStatus << L", newStatus: " << newStatus;
    if (!info.isMeetingItem || !connected) {
        return true;
    }
    if (newStatus == Outlook::olMeetingCanceled) {
        ActionTask(ActionType::CancelMeeting, item);
    } else if (!IsNewItem(item)) {
        ActionTask(ActionType::ModifyMeeting, item);
    }
    return true;
}

bool AddIn::OnAppointmentItemWrite(Outlook::_AppointmentItemPtr item) {
    constexpr const wchar_t* kMethod = L"AddIn::OnAppointmentItemWrite";
    MeetingInfo info;
    GetMeetingInfo(item, info);
    const bool connected = IsClientConnected();
    // Deliberate: bare values; this line comes with every save of every open appointment.
    LogLine(kSource, kMethod).Info() << info.isMeetingItem << L", " << connected << L", " << info.meetingStatus;
    if (!info.isMeetingItem || connected) {
        return true;
    }
    const INT_PTR id = ShowDialog(IDD_SYNC_ZH, IDD_SYNC_EN, OwnerWindow(sinks_, application_, item));
    LogLine(kSource, kMethod).Info() << L"id = " << id;
    if (id == IDC_SYNC_NOW) {
        // Guarded by itself: however it ends, this save does not go ahead.
        GuardComCall(kSource, kMethod, [&] { return ActionTask(ActionType::LaunchClient, item); });
    }
    // Only "Later" saves now; otherwise the user saves again once the client is up.
    return id == IDC_SYNC_LATER;
}

bool AddIn::OnAppointmentItemDelete(Outlook::_AppointmentItemPtr /*item*/) {
    // Office asks the callbacks again during the call and may hand over another ribbon then.
    if (const Outlook::IRibbonUIPtr ribbon = ribbonUI_) {
        Outlook::InvalidateControl(ribbon, ControlIds::kCancelAppointment);
    }
    return true;
}
