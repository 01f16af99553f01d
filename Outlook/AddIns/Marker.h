#pragma once

#include <json/value.h>

#include <string>
#include <string_view>

/// The marker that makes an appointment one of this add-in's meeting items: a small JSON object kept as text (UTF-8
/// here) in the appointment's form comment. Needs no Windows. Nothing here throws on hostile text.
namespace Marker {

inline constexpr const char* kFlag = "nbm_flag";
inline constexpr const char* kIsNewItem = "is_new_item";
inline constexpr const char* kConfId = "conf_id";

/// Reads a comment. @return false, with the reason in `error`, for text that the reader refuses. `marker` is null then,
/// and for a root that is no object.
bool Parse(std::string_view text, Json::Value& marker, std::string& error);

/// The comment's text for a marker.
std::string Write(const Json::Value& marker);

/// The three readers take any value that `Parse` can give, null included.
bool HasFlag(const Json::Value& marker);
/// The member's value as a boolean, or `otherwise` when there is none that can be one.
bool IsNewItem(const Json::Value& marker, bool otherwise);
std::string ConfId(const Json::Value& marker);

} // namespace Marker
