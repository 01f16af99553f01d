#pragma once

#include <json/value.h>

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace meeting_client {

struct Meeting {
    std::string confId;
    std::string confOutlookId; ///< empty until the add-in names it with a modify command
    std::string subject;
    std::int64_t startTime = 0; ///< seconds since 1970-01-01 00:00 UTC
    std::int64_t endTime = 0;
};

/// The meetings that this client knows, and the answers of a live client. Kept in memory only.
class MeetingBook {
public:
    /// Carries a command out.
    /// @return the notification that answers it; nothing for a command that is only shown (0 to 3).
    std::optional<Json::Value> Handle(const Json::Value& command);

    /// Changes a meeting as its organiser would in the client. Members not named in `changes` stay.
    /// @return the notification for the add-in; nothing when there is no such meeting.
    std::optional<Json::Value> Change(const std::string& confId, const Json::Value& changes);

    const std::map<std::string, Meeting>& All() const noexcept { return meetings_; }

private:
    Json::Value Book(const Json::Value& command);
    Json::Value Cancel(const Json::Value& command);
    Json::Value Modify(const Json::Value& command);

    std::map<std::string, Meeting> meetings_;
    std::uint32_t lastId_ = 700'000'000;
};

/// @return the object in the text; nothing when it is not one.
std::optional<Json::Value> ParseObject(std::string_view text);

/// One line, UTF-8 as it is.
std::string Compact(const Json::Value& value);

/// "2025-03-04 05:06 UTC"; a time that the system cannot write so is given as its number of seconds.
std::string UtcText(std::int64_t seconds);

/// Describes the errors in a command of the add-in. Empty when it has exactly the eight members with their types.
std::vector<std::string> CommandFaults(const Json::Value& command);

} // namespace meeting_client
