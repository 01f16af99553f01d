#pragma once

#include <json/value.h>

#include <string>
#include <string_view>

/// Reading of JSON texts that come from outside: notifications and markers. Needs no Windows.
namespace JsonText {

/// Reads a text with the library's default settings.
/// @param root receives the value, null on failure. @param error receives the reader's reason on failure.
/// @throws std::bad_alloc only: the reader reports some invalid texts by its result and others, such as deeply nested
///   ones, by an exception, which counts as a failure here.
bool Parse(std::string_view text, Json::Value& root, std::string& error);

/// @return the member, or null when there is none or `root` is no object.
const Json::Value* Find(const Json::Value& root, std::string_view key);

} // namespace JsonText
