#include "workbench/client/TranscriptEntry.h"

#include <json/json.h>

#include <windows.h>

#include <cstddef>
#include <memory>

namespace meeting_client {
namespace {

int DigitValue(char digit) {
    if (digit >= '0' && digit <= '9') {
        return digit - '0';
    }
    const int letter = digit | 0x20;
    return letter >= 'a' && letter <= 'f' ? letter - 'a' + 10 : -1;
}

bool IsUtf8(const std::string& text) {
    return text.empty() || ::MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text.data(),
                                                 static_cast<int>(text.size()), nullptr, 0) > 0;
}

} // namespace

std::string ToHex(std::string_view bytes) {
    constexpr char kDigits[] = "0123456789abcdef";
    std::string hex;
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        hex += kDigits[byte >> 4];
        hex += kDigits[byte & 0x0F];
    }
    return hex;
}

std::optional<std::string> FromHex(std::string_view hex) {
    if (hex.size() % 2 != 0) {
        return std::nullopt;
    }
    std::string bytes;
    for (std::size_t i = 0; i < hex.size(); i += 2) {
        const int high = DigitValue(hex[i]);
        const int low = DigitValue(hex[i + 1]);
        if (high < 0 || low < 0) {
            return std::nullopt;
        }
        bytes += static_cast<char>(high * 16 + low);
    }
    return bytes;
}

std::string ToLine(const TranscriptEntry& entry) {
    Json::Value line(Json::objectValue);
    line["time"] = entry.time;
    line["us"] = Json::UInt64(entry.microseconds);
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
    } else if (IsUtf8(entry.bytes)) {
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
    Json::StreamWriterBuilder writer;
    writer["indentation"] = "";
    writer["emitUTF8"] = true;
    return Json::writeString(writer, line);
}

std::optional<TranscriptEntry> FromLine(std::string_view text) {
    Json::Value line;
    const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
    if (!reader->parse(text.data(), text.data() + text.size(), &line, nullptr) || !line.isObject() ||
        !line["kind"].isString()) {
        return std::nullopt;
    }
    const auto textOf = [&](const char* key) { return line[key].isString() ? line[key].asString() : std::string(); };
    const auto countOf = [&](const char* key) { return line[key].isUInt64() ? line[key].asUInt64() : 0; };
    TranscriptEntry entry;
    entry.time = textOf("time");
    entry.microseconds = countOf("us");
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
