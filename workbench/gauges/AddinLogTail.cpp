#include "workbench/gauges/AddinLogTail.h"

#include <windows.h>
#include <shlobj.h>

namespace gauges {
namespace {

std::filesystem::path LogFile() {
    wchar_t folder[MAX_PATH] = L"";
    ::SHGetFolderPathW(nullptr, CSIDL_APPDATA, nullptr, SHGFP_TYPE_CURRENT, folder);
    return std::filesystem::path(folder) / L"NembraMeeting" / L"log" / L"outlookaddin.txt";
}

} // namespace

AddinLogTail::AddinLogTail()
    : tail_(LogFile(), true), ownMark_("[P:" + std::to_string(::GetCurrentProcessId()) + "/T:") {}

std::vector<AddinLogLine> AddinLogTail::Read() {
    std::vector<AddinLogLine> lines;
    for (const std::string& line : tail_.Read()) {
        lines.push_back(ReadAddinLogLine(line, ownMark_));
    }
    return lines;
}

/// "[time][P:1/T:2][level][file:line Class::Method]text"
AddinLogLine ReadAddinLogLine(std::string_view line, std::string_view ownMark) {
    constexpr std::string_view kBetween = "][";
    constexpr std::size_t kLongestTime = 60;
    const auto none = std::string_view::npos;
    AddinLogLine result;
    const std::size_t mark = line.starts_with('[') ? line.substr(0, kLongestTime).find(ownMark) : none;
    const std::size_t level = mark == none ? none : line.find(kBetween, mark);
    const std::size_t place = level == none ? none : line.find(kBetween, level + kBetween.size());
    const std::size_t end = place == none ? none : line.find(']', place + kBetween.size());
    if (end == none) {
        result.text = line;
        return result;
    }
    const std::string_view where = line.substr(place + kBetween.size(), end - place - kBetween.size());
    result.hasHead = true;
    result.level = line.substr(level + kBetween.size(), place - level - kBetween.size());
    result.function = where.substr(where.rfind(' ') + 1);
    result.text = line.substr(end + 1);
    return result;
}

} // namespace gauges
