#include "Outlook/Business/MeetingJson.h"
#include "tests/fuzz/Fuzz.h"

#include <json/json.h>

#include <bit>

namespace {

std::int64_t TakeInt64(Fuzz::Input& input) {
    std::uint64_t value = 0;
    for (int byte = 0; byte < 8; ++byte) {
        value = value << 8 | input.TakeByte();
    }
    return std::bit_cast<std::int64_t>(value);
}

/// A notification as a client would write it is read with every value in its place.
void CheckRead(const NotificationFields& fields) {
    Json::Value root;
    root["notify"] = fields.type;
    root["startTime"] = Json::Int64(fields.startTime);
    root["endTime"] = Json::Int64(fields.endTime);
    root["code"] = fields.code;
    const std::pair<const char*, std::string NotificationFields::*> texts[] = {
        {"subject", &NotificationFields::subject},   {"url", &NotificationFields::url},
        {"confId", &NotificationFields::confId},     {"confOutlookId", &NotificationFields::confOutlookId},
        {"contents", &NotificationFields::contents}, {"message", &NotificationFields::message},
    };
    for (const auto& [key, member] : texts) {
        root[key] = fields.*member;
    }
    NotificationFields read;
    std::string error;
    FUZZ_CHECK(ReadNotification(root.toStyledString(), read, error));
    FUZZ_CHECK(read.type == fields.type && read.code == fields.code);
    FUZZ_CHECK(read.startTime == fields.startTime && read.endTime == fields.endTime);
    for (const auto& [key, member] : texts) {
        // The writer replaces what is no UTF-8.
        FUZZ_CHECK(read.*member == fields.*member || !Fuzz::IsUtf8(fields.*member));
    }
}

/// Refused texts leave the record alone; accepted ones read the same after they were written anew.
void CheckText(std::string_view text) {
    const Fuzz::Exact<char> exact(text);
    NotificationFields fields;
    fields.type = -7;
    fields.subject = "untouched";
    std::string error;
    if (ReadNotification(exact.View(), fields, error)) {
        CheckRead(fields);
    } else {
        FUZZ_CHECK(!error.empty() && fields.type == -7 && fields.subject == "untouched");
    }
}

void CheckNotification(Fuzz::Input input) {
    NotificationFields fields;
    fields.startTime = TakeInt64(input);
    fields.endTime = TakeInt64(input);
    fields.type = static_cast<std::int32_t>(fields.startTime >> 32);
    fields.code = static_cast<std::int32_t>(fields.endTime >> 32);
    for (std::string* text : {&fields.confId, &fields.confOutlookId, &fields.url, &fields.message, &fields.subject}) {
        *text = input.TakeLine();
    }
    fields.contents = input.TakeRest();
    CheckRead(fields);
}

/// Any command becomes a text that the channel can carry and the client can read.
void CheckCommand(Fuzz::Input input) {
    CommandFields command;
    command.startTime = TakeInt64(input);
    command.endTime = TakeInt64(input);
    command.cmd = static_cast<std::int32_t>(TakeInt64(input) >> 32);
    command.centerX = command.cmd / 3;
    command.centerY = -command.centerX;
    command.confId = input.TakeLine();
    command.confOutlookId = input.TakeLine();
    command.subject = input.TakeRest();

    const std::string text = WriteCommand(command);
    FUZZ_CHECK(text.ends_with("}\n"));
    // A zero byte would end the message on its way.
    FUZZ_CHECK(text.find('\0') == std::string::npos && Fuzz::IsUtf8(text));

    Json::Value root;
    std::string error;
    const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
    FUZZ_CHECK(reader->parse(text.data(), text.data() + text.size(), &root, &error));
    FUZZ_CHECK(root.size() == 8);
    FUZZ_CHECK(root["cmd"] == command.cmd && root["centerX"] == command.centerX && root["centerY"] == command.centerY);
    FUZZ_CHECK(root["startTime"] == Json::Int64(command.startTime) && root["endTime"] == Json::Int64(command.endTime));
    const std::pair<const char*, const std::string*> texts[] = {
        {"subject", &command.subject}, {"confId", &command.confId}, {"confOutlookId", &command.confOutlookId}};
    for (const auto& [key, value] : texts) {
        FUZZ_CHECK(!Fuzz::IsUtf8(*value) || root[key].asString() == *value);
    }
}

} // namespace

void FuzzOne(Fuzz::Input input) {
    const std::string_view text = input.TakeRest();
    CheckText(text);
    CheckNotification(Fuzz::Input(text));
    CheckCommand(Fuzz::Input(text));
}
