#include "Outlook/AddIns/AddIn.h"

#include "Outlook/AddIns/Appointments.h"
#include "Outlook/AddIns/Dialogs.h"
#include "Outlook/AddIns/Marker.h"
#include "Outlook/AddIns/OwnerWindow.h"
#include "Outlook/AddIns/RibbonControls.h"
#include "support/LogLine.h"

namespace {

constexpr const wchar_t* kSource = L"AddIns/AddIn"; // one label for the add-in object in the log

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
    if (FAILED(GetAppointItemOfEvent(L"AddIn::OnNewInspector", inspector, item))) {
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
    // The item's sink is removed at the end in every case. Otherwise it would keep the item alive, and with it the
    // host.
    const SinkTables::RemovedInspector removed = sinks_.RemoveInspector(inspector);
    Outlook::_AppointmentItemPtr item;
    if (SUCCEEDED(GetAppointItemOfEvent(L"AddIn::OnInspectorClose", inspector, item))) {
        SettleNewItem(item);
    }
}

/// Reports the fate of an appointment that the add-in has filled to the client, once.
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
    // Deliberate: "old" is the status read now, and "new" the one of the last write. Readers of the log know these
    // names.
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
    const INT_PTR id = ShowDialog(kSyncDialog, LanguageOf(languageId_), OwnerWindow(sinks_, application_, item));
    LogLine(kSource, kMethod).Info() << L"id = " << id;
    if (id == IDC_SYNC_NOW) {
        // A guard of its own: even after a failure here, this save does not happen.
        GuardComCall(kSource, kMethod, [&] { return ActionTask(ActionType::LaunchClient, item); });
    }
    // Only "Later" saves now. Otherwise the user saves again when the client is running.
    return id == IDC_SYNC_LATER;
}

bool AddIn::OnAppointmentItemDelete(Outlook::_AppointmentItemPtr /*item*/) {
    // During the call Office asks the callbacks again and may pass another ribbon to `OnLoad`.
    if (const Outlook::IRibbonUIPtr ribbon = ribbonUI_) {
        Outlook::InvalidateControl(ribbon, kCancelControl);
    }
    return true;
}
