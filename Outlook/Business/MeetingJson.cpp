#include "Outlook/Business/MeetingJson.h"

#include "Outlook/Business/JsonText.h"

namespace {

constexpr const char* kInvalidType = "Non command or invalid type.";

void CopyText(const Json::Value& root, std::string_view key, std::string& target) {
    const Json::Value* value = JsonText::Find(root, key);
    if (value != nullptr && value->isString()) {
        target = value->asString();
    }
}

void CopyTime(const Json::Value& root, std::string_view key, int64_t& target) {
    const Json::Value* value = JsonText::Find(root, key);
    if (value != nullptr && value->isInt64()) {
        target = value->asInt64();
    }
}

bool CopyInt(const Json::Value& root, std::string_view key, int32_t& target) {
    const Json::Value* value = JsonText::Find(root, key);
    if (value == nullptr || !value->isInt()) {
        return false;
    }
    target = value->asInt();
    return true;
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
    if (!JsonText::Parse(text, root, refusal)) {
        error = "parse msg fail: " + refusal;
        return false;
    }
    NotificationFields fields;
    if (!CopyInt(root, "notify", fields.type)) {
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
