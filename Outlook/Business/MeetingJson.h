#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/// The JSON vocabulary between add-in and meeting client. Needs no Windows.
///
/// Each concept has two records: `ActionData` and `NotifyData` (Records.h) hold UTF-16 texts, as Outlook has them, and
/// the two below hold UTF-8, as the wire has them. The second pair exists because the conversion between the encodings
/// is the platform's, while this file is also built natively for sanitizers and fuzzers.

/// A command's members, see `ActionData`.
struct CommandFields {
    int32_t cmd = 0;
    std::string subject;
    std::string confId;
    std::string confOutlookId;
    int64_t startTime = 0;
    int64_t endTime = 0;
    int32_t centerX = 0;
    int32_t centerY = 0;
};

/// A notification's members, see `NotifyData`. A member that the text lacks keeps its default.
struct NotificationFields {
    int32_t type = 0;
    std::string subject;
    std::string url;
    std::string confId;
    std::string confOutlookId;
    std::string contents;
    int64_t startTime = 0;
    int64_t endTime = 0;
    int32_t code = 0;
    std::string message;
};

/// @return the command's wire text: styled JSON with all eight members, ending with a line feed.
std::string WriteCommand(const CommandFields& command);

/// Reads one notification. A member that is missing or of another type keeps its default.
/// @param error receives the line for the log on failure.
/// @return false when the text is not a JSON object with a 32-bit integer "notify".
/// @throws std::bad_alloc only.
bool ReadNotification(std::string_view text, NotificationFields& notification, std::string& error);
