#include "workbench/client/TranscriptEntry.h"

#include "workbench/client/Meetings.h"

#include "support/Text.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>

namespace meeting_client {

std::string ToHex(std::string_view bytes) {
    const auto* begin = reinterpret_cast<const unsigned char*>(bytes.data());
    return fmt::format("{:02x}", fmt::join(begin, begin + bytes.size(), ""));
}

std::optional<std::string> FromHex(std::string_view hex) {
    std::string bytes;
    for (; !hex.empty(); hex.remove_prefix(2)) {
        unsigned char byte = 0;
        const char* end = hex.data() + std::min<std::size_t>(hex.size(), 2);
        if (std::from_chars(hex.data(), end, byte, 16).ptr != hex.data() + 2) {
            return std::nullopt;
        }
        bytes += static_cast<char>(byte);
    }
    return bytes;
}

std::string ToLine(const TranscriptEntry& entry) {
    Json::Value line(Json::objectValue);
    line["time"] = entry.time;
    line["kind"] = entry.kind;
    if (!entry.direction.empty()) {
        line["dir"] = entry.direction;
    }
    if (entry.kind == "copydata") {
        line["dwData"] = Json::UInt64(entry.number);
        line["cbData"] = Json::UInt64(entry.size);
    } else if (entry.kind == "message") {
        line["bytes"] = Json::UInt64(entry.size);
    }
    if (entry.null) {
        line["null"] = true;
    } else if (ToUtf8(ToWide(entry.bytes)) == entry.bytes) {
        line["text"] = entry.bytes;
    } else {
        line["hex"] = ToHex(entry.bytes);
    }
    if (!entry.terminated) {
        line["terminated"] = false;
    }
    if (!entry.result.empty()) {
        line["result"] = entry.result;
    }
    return Compact(line);
}

std::optional<TranscriptEntry> FromLine(std::string_view text) {
    const std::optional<Json::Value> parsed = ParseObject(text);
    if (!parsed || !(*parsed)["kind"].isString()) {
        return std::nullopt;
    }
    const Json::Value& line = *parsed;
    const auto textOf = [&](const char* key) { return line[key].isString() ? line[key].asString() : std::string(); };
    const auto countOf = [&](const char* key) { return line[key].isUInt64() ? line[key].asUInt64() : 0; };
    TranscriptEntry entry;
    entry.time = textOf("time");
    entry.kind = textOf("kind");
    entry.direction = textOf("dir");
    entry.number = countOf("dwData");
    entry.size = countOf(entry.kind == "message" ? "bytes" : "cbData");
    entry.bytes = line.isMember("hex") ? FromHex(textOf("hex")).value_or(std::string()) : textOf("text");
    entry.terminated = !line.isMember("terminated");
    entry.null = line.isMember("null");
    entry.result = textOf("result");
    return entry;
}

} // namespace meeting_client
