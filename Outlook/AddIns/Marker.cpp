#include "Outlook/AddIns/Marker.h"

#include <json/reader.h>
#include <json/writer.h>

#include <exception>
#include <memory>

namespace Marker {
namespace {

const Json::Value* Find(const Json::Value& marker, const char* key) {
    // Member access to anything but an object throws.
    return marker.isObject() && marker.isMember(key) ? &marker[key] : nullptr;
}

} // namespace

bool Parse(std::string_view text, Json::Value& marker, std::string& error) {
    marker = Json::Value();
    try {
        Json::Value root;
        const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
        if (!reader->parse(text.data(), text.data() + text.size(), &root, &error)) {
            return false;
        }
        if (root.isObject()) { // a key cannot be set in anything else
            marker = std::move(root);
        }
        return true;
    } catch (const Json::Exception& refused) { // thrown for text that is nested too deeply
        error = refused.what();
        return false;
    }
}

std::string Write(const Json::Value& marker) {
    return Json::writeString(Json::StreamWriterBuilder(), marker);
}

bool HasFlag(const Json::Value& marker) {
    // Deliberate: presence alone counts. Earlier comments may carry the flag with any value.
    return Find(marker, kFlag) != nullptr;
}

bool IsNewItem(const Json::Value& marker, bool otherwise) {
    const Json::Value* value = Find(marker, kIsNewItem);
    return value != nullptr && (value->isBool() || value->isNumeric()) ? value->asBool() : otherwise;
}

std::string ConfId(const Json::Value& marker) {
    const Json::Value* value = Find(marker, kConfId);
    return value != nullptr && value->isString() ? value->asString() : std::string();
}

} // namespace Marker
