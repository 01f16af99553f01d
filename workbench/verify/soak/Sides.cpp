#include "workbench/verify/soak/Sides.h"

#include "workbench/host/Pump.h"
#include "workbench/wire/Window.h"

#include <windows.h>

#include <iterator>
#include <stdexcept>

namespace verify {
namespace {

// Each client goes on far above the numbers of the one before, which may have been killed within a message: the add-in
// keeps the parts and would put them before the next message of that number.
constexpr std::uint64_t kNumbersOfOne = 100'000;
constexpr std::uint64_t kNumbers = 0xFFFF'FFFF;
// A third of the channel's time limit. A message that reaches this limit is noticed even when this thread is late.
constexpr std::chrono::milliseconds kSlow{1000};
constexpr UINT kAnswerTime = 5000;           // ms; the next question follows
constexpr std::chrono::minutes kPatience{2}; // with a machine that has too much to do; no client needs it

std::wstring NewFile() {
    wchar_t folder[MAX_PATH + 1] = L"";
    wchar_t file[MAX_PATH] = L"";
    if (!::GetTempPathW(static_cast<DWORD>(std::size(folder)), folder) ||
        !::GetTempFileNameW(folder, L"nsk", 0, file)) {
        throw std::runtime_error("no temporary file for the client's transcript");
    }
    return file;
}

} // namespace

ClientSide::ClientSide(MessageFlow& commands, MessageFlow& notifications)
    : commands_(commands), notifications_(notifications) {}

ClientSide::~ClientSide() {
    Forget();
}

void ClientSide::Start() {
    transcript_ = NewFile();
    tail_.emplace(transcript_);
    meeting_client::ClientSettings settings;
    settings.transcript = transcript_;
    settings.arguments = {L"--max-seconds", L"7200", L"--first-number",
                          std::to_wstring(starts * kNumbersOfOne % kNumbers + 1)};
    settings.startLimit = kPatience;
    settings.whileWaiting = [] { workbench::PumpFor(1); };
    process_ = std::make_unique<meeting_client::ClientProcess>(std::move(settings));
    hanging_ = hidden_ = tornPossible_ = false;
    ++starts;
}

bool ClientSide::Order(const std::string& order) {
    return TakesOrders() && process_->Order(order, kPatience).done;
}

void ClientSide::Hang(unsigned milliseconds) {
    if (Order("hang " + std::to_string(milliseconds))) {
        hanging_ = true;
        ++hangs;
    }
}

void ClientSide::Hide() {
    hidden_ = Order("hide") || hidden_;
}

void ClientSide::Show() {
    hidden_ = !Order("show") && hidden_;
}

bool ClientSide::Quit() {
    return process_->Quit(kPatience);
}

void ClientSide::Kill() {
    process_->Kill();
    ++kills;
}

void ClientSide::Forget() {
    if (process_) {
        process_.reset();
        ::DeleteFileW(transcript_.c_str());
        tail_.reset();
    }
}

void ClientSide::Read() {
    if (!tail_) {
        return;
    }
    for (const std::string& line : tail_->Read()) {
        if (const auto entry = meeting_client::FromLine(line)) {
            Take(*entry);
        }
    }
}

// An order is carried out between two messages, never within one.
bool ClientSide::ReadAllSent() {
    const bool known = !Alive() || Order("status");
    Read();
    return known;
}

void ClientSide::Take(const meeting_client::TranscriptEntry& entry) {
    if (entry.kind == "fault" && !tornPossible_) {
        faults.push_back(entry.bytes);
    } else if (entry.kind == "note" && entry.bytes == "hangs no more") {
        hanging_ = false;
    } else if (entry.kind == "message" && entry.direction == "in") {
        commands_.Got(entry.bytes);
    } else if (entry.kind == "message" && entry.result == "ok") {
        notifications_.Sent(entry.bytes);
    } else if (entry.kind == "message" && entry.result.starts_with("not taken")) {
        notifications_.Sent(entry.bytes, true);
        ++unacknowledged;
        tornBytes += entry.bytes.size();
    } else if (entry.kind == "message" && entry.result.starts_with("torn")) {
        ++torn;
        tornBytes += entry.bytes.size();
    }
}

bool Pulse::IsLate() const {
    return Clock::now() - beat_.load() > kSlow;
}

void Pulse::Feel() noexcept {
    slow_ = slow_ || IsLate();
    beat_ = Clock::now();
    if (const HWND window = wire::Find(wire::kClientWindow)) {
        ::SendMessageTimeoutW(window, WM_NULL, 0, 0, SMTO_NORMAL, kAnswerTime, nullptr);
    }
}

AddinLog::AddinLog(MessageFlow& commands, MessageFlow& notifications)
    : commands_(commands), notifications_(notifications) {}

void AddinLog::Read() {
    for (const AddinLogLine& line : tail_.Read()) {
        if (line.hasHead) {
            TakeEntry(line);
        } else if (collecting_) {
            command_ += line.text;
        }
    }
}

void AddinLog::TakeEntry(const AddinLogLine& line) {
    constexpr std::string_view kData = "Data: ";
    collecting_ = false;
    errors += line.level == "Err" ? 1 : 0;
    warnings += line.level == "War" ? 1 : 0;
    if (line.function == "Meeting::OnAction" && line.text.starts_with(kData)) {
        command_ = line.text.substr(kData.size());
        collecting_ = hasCommand_ = true;
        launched_ = false;
    } else if (line.function == "Meeting::OnAction" && line.text.starts_with("ShellExecute fail")) {
        launched_ = true; // no program owns the launch URI here, so that every launch leaves this line
    } else if (line.function == "AddIn::ActionTask" && line.text.starts_with("action result: ")) {
        TakeResult(line.text);
    } else if (line.function == "Meeting::OnRecvMsg" && line.level == "Inf") {
        notifications_.Got(line.text);
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
        commands_.Sent(command_);
    }
}

} // namespace verify
