#include "Outlook/AddIns/AddIn.h"

#include "Outlook/AddIns/Appointments.h"
#include "Outlook/AddIns/Dialogs.h"
#include "Outlook/AddIns/LogValues.h"
#include "Outlook/AddIns/OwnerWindow.h"
#include "Outlook/Business/Meeting.h"
#include "support/LogLine.h"
#include "support/WindowCentre.h"

namespace {

constexpr const wchar_t* kSource = L"AddIns/Action";

void PutCentre(HWND window, ActionData& action) {
    RECT bounds = {};
    if (::GetWindowRect(window, &bounds)) {
        action.centerX = Centre(bounds.left, bounds.right);
        action.centerY = Centre(bounds.top, bounds.bottom);
    }
}

/// @return false for an action that does not apply to the appointment.
bool FillCommand(ActionType type, const MeetingInfo& info, ActionData& action) {
    switch (type) {
    case ActionType::LaunchClient:
    case ActionType::Reserved:
    case ActionType::StartVideoMeeting:
    case ActionType::StartAudioMeeting:
        return true;
    case ActionType::BookMeeting:
        // The conference id is not sent: scheduling always asks for a new meeting.
        action.subject = info.subject;
        action.confOutlookId = info.confOutlookId;
        action.startTime = info.startTime;
        action.endTime = info.endTime;
        return true;
    case ActionType::CancelMeeting:
        action.confId = info.confId;
        action.confOutlookId = info.confOutlookId;
        return info.isMeetingItem;
    case ActionType::ModifyMeeting:
        action.confId = info.confId;
        action.confOutlookId = info.confOutlookId;
        action.subject = info.subject;
        action.startTime = info.startTime;
        action.endTime = info.endTime;
        return info.isMeetingItem;
    }
    LogLine(kSource, L"AddIn::ActionTask").Warning() << L"Invalid action type: " << static_cast<int32_t>(type);
    return false;
}

} // namespace

HRESULT AddIn::ActionTask(ActionType type, Outlook::_AppointmentItemPtr item) {
    MeetingInfo info;
    if (item) {
        GetMeetingInfo(item, info);
    }
    ActionData action;
    action.cmd = static_cast<int32_t>(type);
    const OwnerWindow owner(sinks_, application_, item);
    PutCentre(owner.Get(), action);
    if (type == ActionType::BookMeeting && !info.confOutlookId.empty()) {
        // The appointment exists in a store already: the client schedules a new meeting, and its answer goes into a
        // new appointment.
        currentInspector_ = nullptr;
        info.reschedule = 1; // Deliberate: part of the snapshot, although nothing reads it.
        info.confOutlookId.clear();
    }
    if (!FillCommand(type, info, action)) {
        return E_NOTIMPL;
    }
    if (eventHandler_ == nullptr) {
        return E_POINTER;
    }
    const HRESULT result = eventHandler_->OnAction(action);
    LogLine(kSource, L"AddIn::ActionTask").Info() << L"action result: 0x" << Hex(result);
    if (result == Meeting::kClientStarting) {
        ShowDialog(kLoginDialog, LanguageOf(languageId_), owner);
    }
    return result;
}
