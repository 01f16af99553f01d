#include "workbench/hostile/AddinLog.h"

#include <windows.h>
#include <shlobj.h>

#include <algorithm>
#include <fstream>
#include <vector>

namespace hostile {
namespace {

std::filesystem::path LogFile() {
    wchar_t folder[MAX_PATH] = L"";
    ::SHGetFolderPathW(nullptr, CSIDL_APPDATA, nullptr, SHGFP_TYPE_CURRENT, folder);
    return std::filesystem::path(folder) / L"NembraMeeting" / L"log" / L"outlookaddin.txt";
}

} // namespace

AddinLog::AddinLog() : path_(LogFile()), ownMark_("[P:" + std::to_string(::GetCurrentProcessId()) + "/T:") {
    std::error_code missing;
    const auto size = std::filesystem::file_size(path_, missing);
    readUpTo_ = missing ? 0 : size;
}

void AddinLog::Read() {
    constexpr std::size_t kBlock = 1 << 20;
    std::ifstream file(path_, std::ios::binary);
    file.seekg(static_cast<std::streamoff>(readUpTo_));
    std::vector<char> block(kBlock);
    while (file.read(block.data(), kBlock), file.gcount() > 0) {
        readUpTo_ += static_cast<std::uint64_t>(file.gcount());
        rest_.append(block.data(), static_cast<std::size_t>(file.gcount()));
    }
    std::size_t start = 0;
    for (std::size_t end = 0; (end = rest_.find('\n', start)) != std::string::npos; start = end + 1) {
        TakeLine(std::string_view(rest_).substr(start, end - start));
    }
    rest_.erase(0, start);
}

void AddinLog::TakeLine(std::string_view line) {
    // "[time][P:1/T:2][level][file:line Class::Method]text"; what has no such head is a further line of a text.
    const std::size_t mark = line.starts_with('[') ? line.substr(0, 60).find(ownMark_) : std::string_view::npos;
    if (mark == std::string_view::npos) {
        return;
    }
    const std::string_view head = line.substr(mark, 120);
    accepted_ += head.find("][Inf][Notify:") != std::string_view::npos &&
                         head.find(" AddIn::NotifyCallback]Type: ") != std::string_view::npos
                     ? 1
                     : 0;
    refused_ += head.find("][Err][Meeting:") != std::string_view::npos &&
                        head.find(" Meeting::OnRecvMsg]") != std::string_view::npos
                    ? 1
                    : 0;
}

} // namespace hostile
