#pragma once

#include "Outlook/Business/Records.h"

#include <algorithm>
#include <iterator>
#include <string_view>

/// The ribbon's control ids. The custom UI names the same ids; the tripled "e" is part of two of them.
namespace ControlIds {

inline constexpr const wchar_t* kStartMail = L"StartMeetingMail";
inline constexpr const wchar_t* kStartVideoMail = L"StartVideoMeetingMail";
inline constexpr const wchar_t* kStartAudioMail = L"StartAudioMeetingMail";
inline constexpr const wchar_t* kBookMail = L"BookMeetingMail";
inline constexpr const wchar_t* kStartCalendar = L"StartMeetingCalendar";
inline constexpr const wchar_t* kStartVideoCalendar = L"StartVideoMeetingCalendar";
inline constexpr const wchar_t* kStartAudioCalendar = L"StartAudioMeetingCalendar";
inline constexpr const wchar_t* kBookCalendar = L"BookMeetingCalendar";
inline constexpr const wchar_t* kBookAppointment = L"BookMeetingAppointment";
inline constexpr const wchar_t* kCancelAppointment = L"CancelMeeetingAppointment";
inline constexpr const wchar_t* kModifyAppointment = L"ModifyMeeetingAppointment";

/// Every group's id begins so.
inline constexpr std::wstring_view kGroupPrefix = L"GroupNembra";

struct ControlAction {
    std::wstring_view id;
    ActionType type;
};

/// What a press on each control asks for, also for those that the shipped custom UI keeps in comments. Made by the
/// compiler: memory that runs out while the module loads would end the host.
inline constexpr ControlAction kActions[] = {
    {kStartMail, ActionType::StartVideoMeeting},          {kStartVideoMail, ActionType::StartVideoMeeting},
    {kStartAudioMail, ActionType::StartAudioMeeting},     {kBookMail, ActionType::BookMeeting},
    {kStartCalendar, ActionType::StartVideoMeeting},      {kStartVideoCalendar, ActionType::StartVideoMeeting},
    {kStartAudioCalendar, ActionType::StartAudioMeeting}, {kBookCalendar, ActionType::BookMeeting},
    {kBookAppointment, ActionType::BookMeeting},          {kCancelAppointment, ActionType::CancelMeeting},
    {kModifyAppointment, ActionType::ModifyMeeting},
};

inline const ControlAction* FindAction(std::wstring_view id) {
    const auto* found = std::find_if(std::begin(kActions), std::end(kActions),
                                     [id](const ControlAction& action) { return action.id == id; });
    return found != std::end(kActions) ? found : nullptr;
}

} // namespace ControlIds
