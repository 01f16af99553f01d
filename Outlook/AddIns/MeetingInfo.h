#pragma once

#include <cstdint>
#include <string>

/// Snapshot of one appointment. Times are Unix seconds (UTC).
struct MeetingInfo {
    std::wstring subject;
    std::wstring location;
    std::wstring confId;        // from the marker; empty when it has none
    std::wstring confOutlookId; // the appointment's entry id; empty until it was saved
    std::wstring body;
    int64_t startTime = 0;
    int64_t endTime = 0;
    int32_t meetingStatus = 0; // the host's OlMeetingStatus
    int32_t reschedule = 0;    // set when an existing appointment is scheduled anew
    bool isOutlookMeeting = false;
    bool isMeetingItem = false; // the appointment carries this add-in's marker
    bool isNewItem = true;      // filled by the add-in, final details not yet sent back to the client
};
