#include "workbench/client/Meetings.h"

#include <fmt/chrono.h>
#include <json/json.h>

#include <chrono>
#include <iterator>
#include <memory>

namespace meeting_client {
namespace {

constexpr int kUnknownMeeting = 404;
constexpr std::int64_t kHour = 3600; // s

std::string TextOf(const Json::Value& object, const char* key) {
    return object[key].isString() ? object[key].asString() : std::string();
}

std::int64_t NumberOf(const Json::Value& object, const char* key, std::int64_t otherwise = 0) {
    return object[key].isInt64() ? object[key].asInt64() : otherwise;
}

Json::Value Result(int notify, const Json::Value& command, bool known) {
    Json::Value result(Json::objectValue);
    result["notify"] = notify;
    result["confId"] = TextOf(command, "confId");
    result["confOutlookId"] = TextOf(command, "confOutlookId");
    result["code"] = known ? 0 : kUnknownMeeting;
    result["message"] = known ? "success" : "no such meeting";
    return result;
}

std::string UrlOf(const Meeting& meeting) {
    return "https://meeting.nembra.example/j/" + meeting.confId;
}

Json::Value Details(int notify, const Meeting& meeting) {
    Json::Value details(Json::objectValue);
    details["notify"] = notify;
    details["confId"] = meeting.confId;
    details["confOutlookId"] = meeting.confOutlookId;
    details["subject"] = meeting.subject;
    details["url"] = UrlOf(meeting);
    details["startTime"] = Json::Int64(meeting.startTime);
    details["endTime"] = Json::Int64(meeting.endTime);
    details["contents"] = "You are invited to a NEMBRA CLOUD meeting.\r\n\r\nSubject: " + meeting.subject +
                          "\r\nTime: " + UtcText(meeting.startTime) + " to " + UtcText(meeting.endTime) +
                          "\r\nMeeting ID: " + meeting.confId + "\r\nLink: " + UrlOf(meeting) + "\r\n";
    return details;
}

} // namespace

std::optional<Json::Value> MeetingBook::Handle(const Json::Value& command) {
    switch (NumberOf(command, "cmd", -1)) {
    case 4:
        return Book(command);
    case 5:
        return Cancel(command);
    case 6:
        return Modify(command);
    default:
        return std::nullopt;
    }
}

Json::Value MeetingBook::Book(const Json::Value& command) {
    Meeting meeting;
    meeting.confId = std::to_string(++lastId_);
    meeting.confOutlookId = TextOf(command, "confOutlookId");
    meeting.subject = TextOf(command, "subject");
    meeting.startTime = NumberOf(command, "startTime");
    meeting.endTime = NumberOf(command, "endTime");
    if (meeting.startTime == 0 && meeting.endTime == 0) { // no appointment to take them from: as if the user chose
        const auto now = std::chrono::system_clock::now().time_since_epoch();
        meeting.startTime = (std::chrono::duration_cast<std::chrono::hours>(now).count() + 1) * kHour;
        meeting.endTime = meeting.startTime + kHour;
    }
    meetings_[meeting.confId] = meeting;
    Json::Value answer = Details(101, meeting);
    answer["code"] = 0;
    answer["message"] = "success";
    return answer;
}

Json::Value MeetingBook::Cancel(const Json::Value& command) {
    return Result(103, command, meetings_.erase(TextOf(command, "confId")) != 0);
}

Json::Value MeetingBook::Modify(const Json::Value& command) {
    const auto found = meetings_.find(TextOf(command, "confId"));
    if (found == meetings_.end()) {
        return Result(102, command, false);
    }
    Meeting& meeting = found->second;
    meeting.confOutlookId = TextOf(command, "confOutlookId");
    meeting.subject = TextOf(command, "subject");
    meeting.startTime = NumberOf(command, "startTime");
    meeting.endTime = NumberOf(command, "endTime");
    return Result(102, command, true);
}

std::optional<Json::Value> MeetingBook::Change(const std::string& confId, const Json::Value& changes) {
    const auto found = meetings_.find(confId);
    if (found == meetings_.end()) {
        return std::nullopt;
    }
    Meeting& meeting = found->second;
    if (changes["subject"].isString()) {
        meeting.subject = changes["subject"].asString();
    }
    meeting.startTime = NumberOf(changes, "startTime", meeting.startTime);
    meeting.endTime = NumberOf(changes, "endTime", meeting.endTime);
    return Details(200, meeting);
}

std::optional<Json::Value> ParseObject(std::string_view text) {
    Json::Value value;
    const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
    if (!reader->parse(text.data(), text.data() + text.size(), &value, nullptr) || !value.isObject()) {
        return std::nullopt;
    }
    return value;
}

std::string Compact(const Json::Value& value) {
    Json::StreamWriterBuilder writer;
    writer["indentation"] = "";
    writer["emitUTF8"] = true;
    return Json::writeString(writer, value);
}

std::string UtcText(std::int64_t seconds) {
    try {
        return fmt::format("{:%Y-%m-%d %H:%M} UTC", fmt::gmtime(static_cast<std::time_t>(seconds)));
    } catch (const fmt::format_error&) {
        return std::to_string(seconds);
    }
}

std::vector<std::string> CommandFaults(const Json::Value& command) {
    using Json::Value;
    static constexpr struct {
        const char* key;
        bool (Value::*hasType)() const;
    } kMembers[] = {
        {"cmd", &Value::isInt},         {"centerX", &Value::isInt},   {"centerY", &Value::isInt},
        {"subject", &Value::isString},  {"confId", &Value::isString}, {"confOutlookId", &Value::isString},
        {"startTime", &Value::isInt64}, {"endTime", &Value::isInt64},
    };
    std::vector<std::string> faults;
    for (const auto& [key, hasType] : kMembers) {
        if (!(command[key].*hasType)()) {
            faults.push_back(std::string("command member missing or mistyped: ") + key);
        }
    }
    if (faults.empty() && command.size() != std::size(kMembers)) {
        faults.push_back("command has members of no meaning");
    }
    if (command["cmd"].isInt() && (command["cmd"].asInt() < 0 || command["cmd"].asInt() > 6)) {
        faults.push_back("unknown cmd");
    }
    return faults;
}

} // namespace meeting_client
