#include "Outlook/AddIns/AddIn.h"

#include "Outlook/AddIns/Appointments.h"
#include "Outlook/AddIns/Dialogs.h"
#include "Outlook/AddIns/LogValues.h"
#include "Outlook/AddIns/Marker.h"
#include "Outlook/AddIns/OwnerWindow.h"
#include "support/LogLine.h"

namespace {

constexpr const wchar_t* kSource = L"AddIns/Notify";

} // namespace

HRESULT AddIn::NotifyCallback(const NotifyData& data) {
    LogLine(kSource, L"AddIn::NotifyCallback").Info() << L"Type: " << data.type;
    taskWindow_.Post([this, data] { NotifyProc(data); });
    return S_OK;
}

void AddIn::NotifyProc(const NotifyData& data) {
    switch (static_cast<NotifyType>(data.type)) {
    case NotifyType::Scheduled:
        return OnMeetingScheduled(data);
    case NotifyType::ModifyResult:
        return OnMeetingModified(data);
    case NotifyType::CancelResult:
        return OnMeetingCancelled(data);
    case NotifyType::Changed:
        return OnMeetingChanged(data);
    default:
        return;
    }
}

void AddIn::OnMeetingScheduled(const NotifyData& data) {
    Outlook::_AppointmentItemPtr item;
    // The member is cleared first: the calls below can pump messages, and the next notification must not find this
    // inspector again.
    if (Outlook::_InspectorPtr inspector = std::exchange(currentInspector_, nullptr); inspector) {
        GetAppointItemForInspector(inspector, item);
        Outlook::Close(inspector, Outlook::olDiscard);
    }
    if (!item) {
        const HRESULT status = CreateMeetingItem(application_, item);
        if (FAILED(status)) {
            LogLine(kSource, L"AddIn::NotifyProc").Error() << L"Create meeting item fail: 0x" << Hex(status);
            return;
        }
    }
    Outlook::PutMeetingStatus(item, Outlook::olMeeting);
    PutMeeting(item, data);
    SetAppointmentItemFlag(item, Marker::kIsNewItem, true);
    SetAppointmentItemFlag(item, Marker::kFlag, true);
    SetAppointmentItemString(item, Marker::kConfId, data.confId);
    Outlook::Display(item);
}

void AddIn::OnMeetingModified(const NotifyData& data) {
    if (data.code != 0) {
        LogLine(kSource, L"AddIn::NotifyProc").Error() << L"Modify meeting fail: " << data.code;
    }
    if (currentInspector_) {
        ShowDialog(kUpdatedDialog, LanguageOf(languageId_), OwnerWindow(sinks_, application_, nullptr));
    }
}

void AddIn::OnMeetingCancelled(const NotifyData& data) {
    if (data.code != 0) {
        LogLine(kSource, L"AddIn::NotifyProc").Error() << L"Cancel meeting fail: " << data.code;
    }
}

void AddIn::OnMeetingChanged(const NotifyData& data) {
    Outlook::_AppointmentItemPtr item;
    if (FAILED(GetAppointItemFromEntryId(application_, data.confOutlookId, item)) || !item) {
        return; // The lookup has logged the failure.
    }
    PutMeeting(item, data);
    // The appointment is not saved; the user does that.
    ShowDialog(kUpdatedDialog, LanguageOf(languageId_), OwnerWindow(sinks_, application_, item));
}
