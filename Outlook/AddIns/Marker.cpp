#include "Outlook/AddIns/Marker.h"

#include "Outlook/Business/JsonText.h"

#include <json/writer.h>

namespace Marker {

bool Parse(std::string_view text, Json::Value& marker, std::string& error) {
    const bool isRead = JsonText::Parse(text, marker, error);
    if (!marker.isObject()) { // a key cannot be set in anything else
        marker = Json::Value();
    }
    return isRead;
}

std::string Write(const Json::Value& marker) {
    return Json::writeString(Json::StreamWriterBuilder(), marker);
}

bool HasFlag(const Json::Value& marker) {
    // Deliberate: presence alone counts. Earlier comments may carry the flag with any value.
    return JsonText::Find(marker, kFlag) != nullptr;
}

bool IsNewItem(const Json::Value& marker, bool otherwise) {
    const Json::Value* value = JsonText::Find(marker, kIsNewItem);
    return value != nullptr && (value->isBool() || value->isNumeric()) ? value->asBool() : otherwise;
}

std::string ConfId(const Json::Value& marker) {
    const Json::Value* value = JsonText::Find(marker, kConfId);
    return value != nullptr && value->isString() ? value->asString() : std::string();
}

} // namespace Marker
