#include "workbench/client/Faults.h"

#include "support/Text.h"

#include <CLI/Error.hpp>

#include <algorithm>

namespace meeting_client {
namespace {

constexpr std::size_t kBuffer = 1024;
constexpr int kMostCommands = 150;
constexpr int kStartMeeting = 2; // the command that is slow
constexpr DWORD kSlow = 3500;    // ms, longer than the add-in waits
constexpr std::uint32_t kNumber = 7;

Fault g_fault = Fault::None;

} // namespace

void SetFault(const std::string& name) {
    std::string names = "unknown; there are:";
    for (const FaultName& known : kFaultNames) {
        if (name == known.name) {
            g_fault = known.fault;
            return;
        }
        names += std::string("\n  ") + known.name + ": " + known.meaning;
    }
    throw CLI::ValidationError("--fault", names);
}

bool Makes(Fault fault) noexcept {
    return g_fault == fault;
}

void DistortWindow(HWND window) {
    if (Makes(Fault::WrongTitle)) {
        ::SetWindowTextW(window, L"NEMBRA CLOUD Meeting");
    }
}

COPYDATASTRUCT DistortReceived(const COPYDATASTRUCT& data, std::string& buffer) {
    const bool small = Makes(Fault::SmallBuffer) && data.cbData > kBuffer;
    if (!data.lpData || (!small && !Makes(Fault::SplitCharacters))) {
        return data;
    }
    const char* bytes = static_cast<const char*>(data.lpData);
    const std::size_t size = small ? kBuffer - 1 : data.cbData;
    buffer.assign(bytes, std::find(bytes, bytes + size, '\0'));
    if (Makes(Fault::SplitCharacters)) {
        buffer = ToUtf8(ToWide(buffer));
    }
    return {data.dwData, static_cast<DWORD>(buffer.size() + 1), buffer.data()};
}

bool TakesCommand(int number) {
    static int commands = 0;
    if (Makes(Fault::SlowProcedure) && number == kStartMeeting) {
        ::Sleep(kSlow);
    }
    return ++commands <= kMostCommands || !Makes(Fault::LosesBurst);
}

void DistortAnswer(Json::Value& answer) {
    if (Makes(Fault::WrongType) && answer["notify"] == 102) {
        answer["notify"] = 103;
    }
    if (Makes(Fault::TextCode)) {
        answer["code"] = answer["code"].asString();
    }
}

std::uint32_t DistortNumber(std::uint32_t number) {
    return Makes(Fault::SameNumber) ? kNumber : number;
}

HWND DistortFound(HWND addin) {
    static HWND first = nullptr;
    first = first ? first : addin;
    return Makes(Fault::StaleWindow) ? first : addin;
}

} // namespace meeting_client
