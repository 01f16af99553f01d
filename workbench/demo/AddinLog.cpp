#include "workbench/demo/AddinLog.h"

#include "workbench/host/Pump.h"

#include "support/Text.h"

#include <shlobj.h>

#include <filesystem>
#include <fstream>

namespace demo {
namespace {

constexpr unsigned kLimit = 5000; // ms

std::wstring LogPath() {
    wchar_t folder[MAX_PATH] = L"";
    ::SHGetFolderPathW(nullptr, CSIDL_APPDATA, nullptr, SHGFP_TYPE_CURRENT, folder);
    return std::wstring(folder) + L"\\NembraMeeting\\log\\outlookaddin.txt";
}

/// Without the date and the ids of process and thread, which fill half a line.
std::wstring Shortened(const std::wstring& line) {
    for (const wchar_t* tag : {L"[Err]", L"[War]", L"[Inf]"}) {
        if (const std::size_t at = line.find(tag); at != std::wstring::npos) {
            return line.substr(at);
        }
    }
    return line;
}

} // namespace

AddinLog::AddinLog() : path_(LogPath()) {
    std::error_code missing;
    const auto size = std::filesystem::file_size(path_, missing);
    start_ = missing ? 0 : size;
}

std::vector<std::wstring> AddinLog::Lines() const {
    std::ifstream file{std::filesystem::path(path_), std::ios::binary};
    file.seekg(static_cast<std::streamoff>(start_));
    std::vector<std::wstring> lines;
    for (std::string line; std::getline(file, line) && !file.eof();) { // a last line without its end is not complete
        if (!line.empty() && line.back() == '\r') {
            line.pop_back();
        }
        lines.push_back(ToWide(line));
    }
    return lines;
}

void AddinLog::Tell(Story& story, const std::wstring& text) {
    std::vector<std::wstring> lines;
    std::size_t found = 0;
    const auto look = [&] {
        lines = Lines();
        for (found = told_; found < lines.size(); ++found) {
            if (lines[found].find(text) != std::wstring::npos) {
                return true;
            }
        }
        return false;
    };
    if (!workbench::PumpUntil(look, kLimit)) {
        throw StepFailed("the add-in's log got no line with \"" + ToUtf8(text) + "\" within " +
                         ToUtf8(SecondsText(kLimit)));
    }
    told_ = found + 1;
    story.Data(L"log", Shortened(lines[found]));
}

std::map<std::wstring, std::size_t> AddinLog::Complaints() const {
    std::map<std::wstring, std::size_t> counts;
    for (const std::wstring& line : Lines()) {
        const std::wstring text = Shortened(line);
        if (text.starts_with(L"[Err]") || text.starts_with(L"[War]")) {
            ++counts[text];
        }
    }
    return counts;
}

} // namespace demo
