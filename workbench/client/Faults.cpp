#include "workbench/client/Faults.h"

#include "support/Text.h"

#include <algorithm>

namespace meeting_client {
namespace {

constexpr std::size_t kBuffer = 1024;
constexpr int kMostCommands = 150;
constexpr int kStartMeeting = 2; // the command that is slow
constexpr DWORD kSlow = 3500;    // ms, longer than the add-in waits
constexpr std::uint32_t kNumber = 7;

std::string g_fault; // its name

} // namespace

void SetFault(const std::string& name) {
    g_fault = name;
}

bool Makes(std::string_view fault) noexcept {
    return g_fault == fault;
}

void DistortWindow(HWND window) {
    if (Makes("wrong-title")) {
        ::SetWindowTextW(window, L"NEMBRA CLOUD Meeting");
    }
}

COPYDATASTRUCT DistortReceived(const COPYDATASTRUCT& data, std::string& buffer) {
    const bool small = Makes("small-buffer") && data.cbData > kBuffer;
    if (!data.lpData || (!small && !Makes("split-characters"))) {
        return data;
    }
    const char* bytes = static_cast<const char*>(data.lpData);
    const std::size_t size = small ? kBuffer - 1 : data.cbData;
    buffer.assign(bytes, std::find(bytes, bytes + size, '\0'));
    if (Makes("split-characters")) {
        buffer = ToUtf8(ToWide(buffer));
    }
    return {data.dwData, static_cast<DWORD>(buffer.size() + 1), buffer.data()};
}

bool TakesCommand(int number) {
    static int commands = 0;
    if (Makes("slow-procedure") && number == kStartMeeting) {
        ::Sleep(kSlow);
    }
    return ++commands <= kMostCommands || !Makes("loses-burst");
}

void DistortAnswer(Json::Value& answer) {
    if (Makes("wrong-type") && answer["notify"] == 102) {
        answer["notify"] = 103;
    }
    if (Makes("text-code")) {
        answer["code"] = answer["code"].asString();
    }
}

std::uint32_t DistortNumber(std::uint32_t number) {
    return Makes("same-number") ? kNumber : number;
}

HWND DistortFound(HWND addin) {
    static HWND first = nullptr;
    first = first ? first : addin;
    return Makes("stale-window") ? first : addin;
}

} // namespace meeting_client
