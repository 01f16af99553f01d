#include "tests/Outlook/AddIns/AddinLogReader.h"

#include <windows.h>
#include <shlobj.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <regex>

namespace {

std::filesystem::path LogFile() {
    wchar_t folder[MAX_PATH] = {};
    ::SHGetFolderPathW(nullptr, CSIDL_APPDATA, nullptr, SHGFP_TYPE_CURRENT, folder);
    return std::filesystem::path(folder) / L"NembraMeeting" / L"log" / L"outlookaddin.txt";
}

} // namespace

AddinLogReader::AddinLogReader() {
    std::error_code none; // No file yet: it begins at 0.
    const auto size = std::filesystem::file_size(LogFile(), none);
    readUpTo_ = none ? 0 : static_cast<std::streamoff>(size);
}

const std::vector<std::string>& AddinLogReader::ReadOn() const {
    static const std::regex pattern(R"(^\[[^\]]*\]\[P:(\d+)/T:\d+\]\[(\w+)\]\[[^ \]]+ ([^\]]+)\](.*)$)");
    std::ifstream file(LogFile(), std::ios::binary);
    file.seekg(readUpTo_);
    const std::string own = std::to_string(::GetCurrentProcessId());
    // A last line without its end is still being written.
    for (std::string line; std::getline(file, line) && !file.eof();) {
        readUpTo_ += static_cast<std::streamoff>(line.size() + 1);
        if (line.ends_with('\r')) {
            line.pop_back();
        }
        line.resize(std::min<size_t>(line.size(), 1000)); // The matching recurses with the length.
        std::smatch parts;
        if (std::regex_match(line, parts, pattern) && parts[1] == own) {
            lines_.push_back(parts[2].str() + " " + parts[3].str() + " " + parts[4].str());
        }
    }
    return lines_;
}

std::vector<std::string> AddinLogReader::NewLines() {
    std::vector<std::string> lines = Lines();
    lines.erase(lines.begin(), lines.begin() + static_cast<ptrdiff_t>(std::min(taken_, lines.size())));
    taken_ += lines.size();
    return lines;
}

size_t AddinLogReader::CountOf(const std::string& beginning) const {
    const auto& lines = ReadOn();
    return static_cast<size_t>(std::count_if(lines.begin(), lines.end(),
                                             [&](const std::string& line) { return line.starts_with(beginning); }));
}
