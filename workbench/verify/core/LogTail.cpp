#include "workbench/verify/core/LogTail.h"

#include <windows.h>
#include <shlobj.h>

#include <fstream>

namespace verify {

LineTail::LineTail(std::filesystem::path path, bool fromEnd) : path_(std::move(path)) {
    std::error_code missing;
    const auto size = std::filesystem::file_size(path_, missing);
    readUpTo_ = missing || !fromEnd ? 0 : size;
}

std::vector<std::string> LineTail::Read() {
    std::vector<std::string> lines;
    std::ifstream file(path_, std::ios::binary);
    file.seekg(static_cast<std::streamoff>(readUpTo_));
    for (std::string line; std::getline(file, line) && !file.eof();) {
        readUpTo_ += line.size() + 1;
        if (line.ends_with('\r')) {
            line.pop_back();
        }
        lines.push_back(line);
    }
    return lines;
}

std::filesystem::path AddinLogFile(int copy) {
    wchar_t folder[MAX_PATH] = L"";
    ::SHGetFolderPathW(nullptr, CSIDL_APPDATA, nullptr, SHGFP_TYPE_CURRENT, folder);
    const std::wstring name = copy == 0 ? L"outlookaddin.txt" : L"outlookaddin_" + std::to_wstring(copy) + L".txt";
    return std::filesystem::path(folder) / L"NembraMeeting" / L"log" / name;
}

AddinLogTail::AddinLogTail() : ownMark_("[P:" + std::to_string(::GetCurrentProcessId()) + "/T:") {}

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
    const std::size_t mark = line.starts_with('[') ? line.substr(0, kLongestTime).find(ownMark) : none;
    const std::size_t level = mark == none ? none : line.find(kBetween, mark);
    const std::size_t place = level == none ? none : line.find(kBetween, level + kBetween.size());
    const std::size_t end = place == none ? none : line.find(']', place + kBetween.size());
    if (end == none) {
        return {false, "", "", std::string(line)};
    }
    const std::string_view where = line.substr(place + kBetween.size(), end - place - kBetween.size());
    return {true, std::string(line.substr(level + kBetween.size(), place - level - kBetween.size())),
            std::string(where.substr(where.rfind(' ') + 1)), std::string(line.substr(end + 1))};
}

} // namespace verify
