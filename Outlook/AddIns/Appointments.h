#pragma once

#include "Outlook/AddIns/MeetingInfo.h"
#include "Outlook/Business/Records.h"
#include "Outlook/ObjectModel/ObjectModel.h"

#include <json/forwards.h>

#include <string>

// Appointments of the host: their marker, their snapshot, and lookups that find one. An appointment is one of the
// add-in's meeting items when its form comment carries the marker, see Marker.h. Failures are logged and returned
// unchanged. User-interface thread.

/// Reads the marker object. @return false, with null in `json`, when there is no readable comment.
bool GetAppointmentItemComment(Outlook::_AppointmentItem* item, Json::Value& json);
/// Replaces the marker object. A host that refuses it leaves the appointment as it is.
void SetAppointmentItemComment(Outlook::_AppointmentItem* item, const Json::Value& json);
// Each sets one member of the marker object and keeps the others.
void SetAppointmentItemFlag(Outlook::_AppointmentItem* item, const char* key, bool value);
void SetAppointmentItemString(Outlook::_AppointmentItem* item, const char* key, const std::wstring& text);
/// @return true when the add-in has filled the appointment and the client does not yet know its final details.
bool IsNewItem(Outlook::_AppointmentItem* item);

/// Says whether an appointment could be read and is a meeting, Outlook's or the add-in's own. Do not confuse it with
/// `MeetingInfo::isMeetingItem`, which says that the appointment carries the add-in's marker.
enum class IsMeeting : bool { No, Yes };

/// Reads an appointment. `info` stays unchanged when the status or a time cannot be read. Otherwise it is filled, for
/// both results.
IsMeeting GetMeetingInfo(Outlook::_AppointmentItem* item, MeetingInfo& info);

// Two functions find the appointment of a window. The window of a ribbon should have an item, so a missing one is an
// error. Events come from windows of every kind, so a missing item is normal.

/// For ribbon callbacks and notifications. @return S_OK with a null `item` when the window has no item.
HRESULT GetAppointItemForInspector(Outlook::_Inspector* inspector, Outlook::_AppointmentItemPtr& item);
/// For the host's events. @param method names the handler in the log.
/// @return E_NOINTERFACE for a window that shows no appointment.
HRESULT GetAppointItemOfEvent(const wchar_t* method, Outlook::_Inspector* inspector,
                              Outlook::_AppointmentItemPtr& item);

/// Looks an entry id up in all stores. @return ERROR_NOT_FOUND as a status when no store knows it.
HRESULT GetAppointItemFromEntryId(Outlook::_Application* application, const std::wstring& entryId,
                                  Outlook::_AppointmentItemPtr& item);
/// Creates an appointment, neither saved nor shown.
HRESULT CreateMeetingItem(Outlook::_Application* application, Outlook::_AppointmentItemPtr& item);
/// Writes subject, location, times and body. A property that the host refuses leaves the others alone.
void PutMeeting(Outlook::_AppointmentItem* item, const NotifyData& data);
