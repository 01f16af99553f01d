#include "workbench/soak/AddinLog.h"

#include <windows.h>
#include <shlobj.h>

namespace soak {
namespace {

std::filesystem::path LogFile() {
    wchar_t folder[MAX_PATH] = L"";
    ::SHGetFolderPathW(nullptr, CSIDL_APPDATA, nullptr, SHGFP_TYPE_CURRENT, folder);
    return std::filesystem::path(folder) / L"NembraMeeting" / L"log" / L"outlookaddin.txt";
}

} // namespace

AddinLog::AddinLog(MessageFlow& commands, MessageFlow& notifications)
    : commands_(commands),
      notifications_(notifications),
      tail_(LogFile(), true),
      ownMark_("[P:" + std::to_string(::GetCurrentProcessId()) + "/T:") {}

void AddinLog::Read() {
    for (const std::string& line : tail_.Read()) {
        const std::string_view view(line);
        const std::size_t mark = view.starts_with('[') ? view.find(ownMark_) : std::string_view::npos;
        const std::size_t level = mark == std::string_view::npos ? mark : view.find("][", mark);
        const std::size_t place = level == std::string_view::npos ? level : view.find("][", level + 2);
        const std::size_t text = place == std::string_view::npos ? place : view.find(']', place + 2);
        if (text == std::string_view::npos) {
            command_ += collecting_ ? line : std::string(); // a further line of the same text
            continue;
        }
        const std::string_view where = view.substr(place + 2, text - place - 2);
        TakeEntry(view.substr(level + 2, place - level - 2), where.substr(where.rfind(' ') + 1), view.substr(text + 1));
    }
}

void AddinLog::TakeEntry(std::string_view level, std::string_view function, std::string_view text) {
    constexpr std::string_view kData = "Data: ";
    collecting_ = false;
    errors += level == "Err" ? 1 : 0;
    warnings += level == "War" ? 1 : 0;
    if (function == "Meeting::OnAction" && text.starts_with(kData)) {
        command_ = text.substr(kData.size());
        collecting_ = hasCommand_ = true;
        launched_ = false;
    } else if (function == "Meeting::OnAction" && text.starts_with("ShellExecute fail")) {
        launched_ = true; // no program owns the launch URI here, so that every launch leaves this line
    } else if (function == "AddIn::ActionTask" && text.starts_with("action result: ")) {
        TakeResult(text);
    } else if (function == "Meeting::OnRecvMsg" && level == "Inf") {
        notifications_.Got(text);
    }
}

void AddinLog::TakeResult(std::string_view text) {
    constexpr std::string_view kClientStarting = "a0080001";
    if (!hasCommand_) {
        return;
    }
    hasCommand_ = false;
    if (launched_ || text.find(kClientStarting) != std::string_view::npos) {
        ++refused;
    } else {
        commands_.Sent(command_, commandsMayBeLost);
    }
}

} // namespace soak
