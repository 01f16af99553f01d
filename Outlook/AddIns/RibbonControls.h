#pragma once

#include "Outlook/AddIns/Language.h"
#include "Outlook/Business/Records.h"
#include "Outlook/ObjectModel/ObjectModel.h"
#include "resources/resource.h"

#include <string>
#include <string_view>

/// In which appointment windows a control is shown. Elsewhere every control is shown.
enum class Shown { Always, UnlessOurs, IfOurs };

/// The effect of a press besides sending its action.
enum class Press {
    Sends,           ///< nothing
    SendsChange,     ///< remembers the appointment's window and puts the caret into its body
    SendsScheduling, ///< as `SendsChange`; also marks an appointment that was never saved as the add-in's own
    Deletes          ///< deletes the appointment and sends nothing; without an appointment the action is sent
};

struct RibbonControl {
    std::wstring_view id;
    PerLanguage<unsigned> label;
    ActionType action;
    Shown shown = Shown::Always;
    Press press = Press::Sends;
};

/// The id of "Cancel" in an appointment. Deliberate: the tripled "e" is part of two published ids.
inline constexpr wchar_t kCancelControl[] = L"CancelMeeetingAppointment";

/// All controls, also those that the shipped custom UI keeps in comments. `constexpr`: an allocation while the module
/// loads could fail and end the host. Every control is enabled, unless it stands in the window of a cancelled meeting.
inline constexpr RibbonControl kRibbonControls[] = {
    {L"StartMeetingMail", {IDS_START_ZH, IDS_START_EN}, ActionType::StartVideoMeeting},
    {L"StartVideoMeetingMail", {IDS_START_VIDEO_ZH, IDS_START_VIDEO_EN}, ActionType::StartVideoMeeting},
    {L"StartAudioMeetingMail", {IDS_START_AUDIO_ZH, IDS_START_AUDIO_EN}, ActionType::StartAudioMeeting},
    {L"BookMeetingMail", {IDS_SCHEDULE_ZH, IDS_SCHEDULE_EN}, ActionType::BookMeeting},
    {L"StartMeetingCalendar", {IDS_START_ZH, IDS_START_EN}, ActionType::StartVideoMeeting},
    {L"StartVideoMeetingCalendar", {IDS_START_VIDEO_ZH, IDS_START_VIDEO_EN}, ActionType::StartVideoMeeting},
    {L"StartAudioMeetingCalendar", {IDS_START_AUDIO_ZH, IDS_START_AUDIO_EN}, ActionType::StartAudioMeeting},
    {L"BookMeetingCalendar", {IDS_SCHEDULE_ZH, IDS_SCHEDULE_EN}, ActionType::BookMeeting},
    {L"BookMeetingAppointment",
     {IDS_SCHEDULE_ZH, IDS_SCHEDULE_EN},
     ActionType::BookMeeting,
     Shown::UnlessOurs,
     Press::SendsScheduling},
    {kCancelControl, {IDS_CANCEL_ZH, IDS_CANCEL_EN}, ActionType::CancelMeeting, Shown::IfOurs, Press::Deletes},
    {L"ModifyMeeetingAppointment",
     {IDS_SETTINGS_ZH, IDS_SETTINGS_EN},
     ActionType::ModifyMeeting,
     Shown::IfOurs,
     Press::SendsChange},
};

/// @return null for an id that is not in the table.
const RibbonControl* FindControl(std::wstring_view id);

/// @return the string id of a control's or group's label, 0 for an unknown id.
unsigned FindLabel(std::wstring_view id, Language language);

// These functions read Office's control objects. Failures are logged. User-interface thread.

/// @return empty when the id cannot be read.
std::wstring GetControlId(IDispatch* control);
/// Finds the inspector on whose ribbon the control is. Fails for a control of the explorer.
HRESULT GetInspectorForRibbon(IDispatch* control, Outlook::_InspectorPtr& inspector);
/// @return true when the control is in the window of an appointment. On false, `inspector` may be set all the same.
bool GetAppointItemForRibbon(IDispatch* control, Outlook::_InspectorPtr& inspector, Outlook::_AppointmentItemPtr& item);

/// Finds the custom UI of a ribbon. @return null on failure, with the thread's last error set.
HRSRC GetRscByRibbonID(const std::wstring& ribbonId);
