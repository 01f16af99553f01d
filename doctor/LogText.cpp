#include "doctor/LogText.h"

#include <algorithm>
#include <charconv>
#include <cwchar>
#include <optional>

namespace doctor {
namespace {

constexpr std::string_view kBlack = "\xE2\x96\xA0\xE2\x96\xA0\xE2\x96\xA0"; // three black squares

/// The part in front of `mark`, which is taken off together with the mark.
std::optional<std::string_view> Take(std::string_view& rest, std::string_view mark) {
    const std::size_t end = rest.find(mark);
    if (end == std::string_view::npos) {
        return std::nullopt;
    }
    const std::string_view part = rest.substr(0, end);
    rest.remove_prefix(end + mark.size());
    return part;
}

/// Reads "[time][P:1/T:2][Inf][File:3 Class::Method]text".
std::optional<LogEntry> ParseLine(std::string_view line) {
    constexpr std::size_t kTime = 23;
    if (line.size() <= kTime || line.front() != '[') {
        return std::nullopt;
    }
    line.remove_prefix(1);
    const auto time = Take(line, "][P:");
    const auto process = Take(line, "/T:");
    const auto thread = Take(line, "][");
    const auto level = Take(line, "][");
    const auto source = Take(line, "]");
    LogEntry entry;
    if (!time || time->size() != kTime || !process || !thread || !level || level->size() != 3 || !source ||
        std::from_chars(process->data(), process->data() + process->size(), entry.process).ec != std::errc()) {
        return std::nullopt;
    }
    entry.time = *time;
    entry.level = *level;
    entry.source = *source;
    entry.text = line;
    return entry;
}

template <class Handle>
void ForEachLine(std::string_view text, Handle handle) {
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        std::string_view line = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        if (line.ends_with('\r')) {
            line.remove_suffix(1);
        }
        handle(line);
    }
}

char Lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool IsPartOfAddress(char c) {
    constexpr std::string_view kSigns = ".-_+%";
    const char lower = Lower(c);
    return (lower >= 'a' && lower <= 'z') || (c >= '0' && c <= '9') || (static_cast<unsigned char>(c) & 0x80U) != 0 ||
           kSigns.find(c) != std::string_view::npos;
}

} // namespace

std::vector<LogEntry> ParseLog(std::string_view log) {
    std::vector<LogEntry> entries;
    ForEachLine(log, [&](std::string_view line) {
        if (auto entry = ParseLine(line)) {
            entries.push_back(std::move(*entry));
        }
    });
    return entries;
}

std::string WithoutContents(std::string_view log) {
    std::string kept;
    ForEachLine(log, [&](std::string_view line) {
        const auto entry = ParseLine(line);
        if (!entry && !line.starts_with("Logone(")) {
            return; // more lines of a message
        }
        // Only the link to the client writes messages, as plain information.
        const bool message = entry && entry->level == "Inf" && entry->source.starts_with("Meeting:");
        kept.append(message ? line.substr(0, line.size() - entry->text.size()) : line);
        kept.append(message ? kBlack : "").append("\r\n");
    });
    return kept;
}

std::string BlackOut(std::string_view text, const std::vector<std::string>& words) {
    std::string result;
    const auto sameLetter = [](char one, char other) { return Lower(one) == Lower(other); };
    for (std::size_t at = 0; at < text.size();) {
        const std::string_view rest = text.substr(at);
        const auto word = std::find_if(words.begin(), words.end(), [&](const std::string& each) {
            return !each.empty() && rest.size() >= each.size() &&
                   std::equal(each.begin(), each.end(), rest.begin(), sameLetter);
        });
        if (word != words.end()) {
            result += kBlack;
            at += word->size();
        } else if (rest.front() == '@' && !result.empty() && IsPartOfAddress(result.back()) && rest.size() > 1 &&
                   IsPartOfAddress(rest[1])) {
            while (!result.empty() && IsPartOfAddress(result.back())) {
                result.pop_back();
            }
            result += kBlack;
            for (++at; at < text.size() && IsPartOfAddress(text[at]);) {
                ++at;
            }
        } else {
            result += rest.front();
            ++at;
        }
    }
    return result;
}

Event ParseEvent(std::wstring_view xml) {
    Event event;
    const std::size_t id = xml.find(L"<EventID");
    const std::size_t number = id == std::wstring_view::npos ? id : xml.find(L'>', id);
    if (number != std::wstring_view::npos) {
        event.id =
            static_cast<std::uint32_t>(std::wcstoul(std::wstring(xml.substr(number + 1, 10)).c_str(), nullptr, 10));
    }
    const std::size_t system = xml.find(L"</System>");
    bool inMark = false;
    for (const wchar_t c : xml.substr(system == std::wstring_view::npos ? xml.size() : system)) {
        inMark = c == L'<' || (inMark && c != L'>');
        event.text += inMark || c == L'>' || c == L'\r' || c == L'\n' ? L' ' : c;
    }
    const auto twoBlanks = [](wchar_t one, wchar_t other) { return one == L' ' && other == L' '; };
    event.text.erase(std::unique(event.text.begin(), event.text.end(), twoBlanks), event.text.end());
    return event;
}

// The labels have the language of Outlook, but "ProgID:" stays, and only numbers with a unit follow "):".
std::vector<std::pair<std::wstring, unsigned long>> BootTimes(std::wstring_view event) {
    constexpr std::wstring_view kMark = L"ProgID: ";
    std::vector<std::pair<std::wstring, unsigned long>> times;
    for (std::size_t at = event.find(kMark); at != std::wstring_view::npos;) {
        at += kMark.size();
        const std::size_t next = event.find(kMark, at);
        const std::wstring part(event.substr(at, next == std::wstring_view::npos ? next : next - at));
        const std::size_t unit = part.rfind(L"):");
        if (unit != std::wstring::npos) {
            times.emplace_back(part.substr(0, part.find(L' ')), std::wcstoul(part.c_str() + unit + 2, nullptr, 10));
        }
        at = next;
    }
    return times;
}

} // namespace doctor
