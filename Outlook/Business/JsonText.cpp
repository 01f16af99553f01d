#include "Outlook/Business/JsonText.h"

#include <json/reader.h>

#include <memory>

namespace JsonText {

bool Parse(std::string_view text, Json::Value& root, std::string& error) {
    root = Json::Value();
    try {
        const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
        Json::Value read;
        if (!reader->parse(text.data(), text.data() + text.size(), &read, &error)) {
            return false;
        }
        root = std::move(read);
        return true;
    } catch (const Json::Exception& refused) {
        error = refused.what();
        return false;
    }
}

const Json::Value* Find(const Json::Value& root, std::string_view key) {
    // The library throws for a member of anything but an object.
    return root.isObject() ? root.find(key.data(), key.data() + key.size()) : nullptr;
}

} // namespace JsonText
