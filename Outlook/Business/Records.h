#pragma once

#include <cstdint>
#include <string>

/// The requests that ribbon controls and item events make to the meeting client. The value is the command's "cmd".
enum class ActionType : int32_t {
    LaunchClient = 0, // shows the client; no ribbon control sends it
    Reserved = 1,     // not sent
    StartVideoMeeting = 2,
    StartAudioMeeting = 3,
    BookMeeting = 4,
    CancelMeeting = 5,
    ModifyMeeting = 6,
};

/// One command to the meeting client. Times are Unix seconds (UTC), the centre is in screen pixels.
struct ActionData {
    int32_t cmd = 0;
    std::wstring subject;
    std::wstring confId;        // the client's conference id; empty for a new meeting
    std::wstring confOutlookId; // the appointment's entry id
    int64_t startTime = 0;
    int64_t endTime = 0;
    int32_t centerX = 0; // centre of the window the user acted in, so that the client can place its own
    int32_t centerY = 0;
};

/// The kinds of notification. Other numbers are ignored.
enum class NotifyType : int32_t {
    Scheduled = 101,
    ModifyResult = 102,
    CancelResult = 103,
    Changed = 200, // in the client
};

/// One notification from the meeting client. Times are Unix seconds (UTC).
struct NotifyData {
    int32_t type = 0; // a `NotifyType`, or any other number
    std::wstring subject;
    std::wstring url; // join link; becomes the appointment's location
    std::wstring confId;
    std::wstring confOutlookId;
    std::wstring contents; // invitation text; becomes the appointment's body
    int64_t startTime = 0;
    int64_t endTime = 0;
    int32_t code = 0; // the client's result, 0 is success
    std::wstring message;
};
