#include "Outlook/Business/MeetingJson.h"

#include <json/json.h>

#include <memory>

namespace {

constexpr const char* kInvalidType = "Non command or invalid type.";

/// @return the member, or null when there is none. The root must be an object.
const Json::Value* Find(const Json::Value& root, std::string_view key) {
    return root.find(key.data(), key.data() + key.size());
}

void CopyText(const Json::Value& root, std::string_view key, std::string& target) {
    const Json::Value* value = Find(root, key);
    if (value != nullptr && value->isString()) {
        target = value->asString();
    }
}

void CopyTime(const Json::Value& root, std::string_view key, int64_t& target) {
    const Json::Value* value = Find(root, key);
    if (value != nullptr && value->isInt64()) {
        target = value->asInt64();
    }
}

bool CopyInt(const Json::Value& root, std::string_view key, int32_t& target) {
    const Json::Value* value = Find(root, key);
    if (value == nullptr || !value->isInt()) {
        return false;
    }
    target = value->asInt();
    return true;
}

/// The reader reports some invalid texts by its result and others, such as deeply nested ones, by an exception.
bool Parse(std::string_view text, Json::Value& root, std::string& error) {
    const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
    try {
        return reader->parse(text.data(), text.data() + text.size(), &root, &error);
    } catch (const Json::Exception& refusal) {
        error = refusal.what();
        return false;
    }
}

} // namespace

std::string WriteCommand(const CommandFields& command) {
    Json::Value root(Json::objectValue);
    root["cmd"] = Json::Int(command.cmd);
    root["subject"] = command.subject;
    root["confId"] = command.confId;
    root["confOutlookId"] = command.confOutlookId;
    root["startTime"] = Json::Int64(command.startTime);
    root["endTime"] = Json::Int64(command.endTime);
    root["centerX"] = Json::Int(command.centerX);
    root["centerY"] = Json::Int(command.centerY);
    return root.toStyledString();
}

bool ReadNotification(std::string_view text, NotificationFields& notification, std::string& error) {
    Json::Value root;
    std::string refusal;
    if (!Parse(text, root, refusal)) {
        error = "parse msg fail: " + refusal;
        return false;
    }
    NotificationFields fields;
    if (!root.isObject() || !CopyInt(root, "notify", fields.type)) {
        error = kInvalidType;
        return false;
    }
    CopyText(root, "confId", fields.confId);
    CopyText(root, "confOutlookId", fields.confOutlookId);
    CopyText(root, "contents", fields.contents);
    CopyText(root, "url", fields.url);
    CopyText(root, "subject", fields.subject);
    CopyTime(root, "startTime", fields.startTime);
    CopyTime(root, "endTime", fields.endTime);
    CopyInt(root, "code", fields.code);
    CopyText(root, "message", fields.message);
    notification = std::move(fields);
    return true;
}
