#include "workbench/client/ClientProcess.h"

#include "workbench/client/Control.h"
#include "workbench/process/OwnProgram.h"
#include "workbench/wire/Window.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace meeting_client {
namespace {

constexpr DWORD kKillLimit = 5000; // ms

std::wstring NewTranscript() {
    wchar_t folder[MAX_PATH + 1] = L"";
    wchar_t file[MAX_PATH] = L"";
    if (!::GetTempPathW(static_cast<DWORD>(std::size(folder)), folder) ||
        !::GetTempFileNameW(folder, L"nmc", 0, file)) {
        throw std::runtime_error("meeting client: no temporary file for the transcript");
    }
    return file;
}

} // namespace

std::wstring ClientProcess::FindProgram() {
    return process::FindBuilt(L"workbench\\client\\meeting_client.exe");
}

ClientProcess::ClientProcess(ClientSettings settings) : settings_(std::move(settings)) {
    if (settings_.transcript.empty() && settings_.attachTo == 0) {
        settings_.transcript = NewTranscript();
        deleteTranscript_ = true;
    }
    try {
        if (settings_.attachTo != 0) {
            process_.emplace(settings_.attachTo);
        } else {
            Launch();
        }
        const bool ready = WaitUntil(
            [&] { return !IsRunning() || (OwnWindow(kControlWindow) && (!settings_.waitForWindow || Window())); },
            settings_.startLimit);
        if (!IsRunning()) {
            throw std::runtime_error("meeting client: ended at the start with code " +
                                     std::to_string(ExitCode().value_or(0)));
        }
        if (!ready) {
            throw std::runtime_error("meeting client: not ready in time");
        }
    } catch (...) {
        Kill();
        throw;
    }
}

ClientProcess::~ClientProcess() {
    Kill();
}

DWORD ClientProcess::FindRunning() noexcept {
    return wire::ProcessOf(wire::Find(kControlWindow));
}

void ClientProcess::Launch() {
    std::vector<std::wstring> arguments = {L"--transcript", settings_.transcript, L"--parent",
                                           std::to_wstring(::GetCurrentProcessId())};
    arguments.insert(arguments.end(), settings_.arguments.begin(), settings_.arguments.end());
    process_.emplace(settings_.program.empty() ? FindProgram() : settings_.program, arguments, process::Streams::Own);
}

HWND ClientProcess::OwnWindow(const wchar_t* name) const {
    const std::vector<HWND> windows = wire::FindAll(name, name);
    const auto own = std::ranges::find(windows, ProcessId(), &wire::ProcessOf);
    return own == windows.end() ? nullptr : *own;
}

HWND ClientProcess::Window() const {
    return OwnWindow(wire::kClientWindow);
}

bool ClientProcess::WaitUntil(const std::function<bool()>& holds, Milliseconds limit) const {
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!holds()) {
        if (std::chrono::steady_clock::now() >= end) {
            return false;
        }
        if (settings_.whileWaiting) {
            settings_.whileWaiting();
        }
        ::Sleep(5);
    }
    return true;
}

OrderResult ClientProcess::Order(std::string_view order, Milliseconds limit) {
    const HWND control = OwnWindow(kControlWindow);
    if (!control) {
        return {false, "the client takes no orders"};
    }
    std::string text(order);
    COPYDATASTRUCT data{};
    data.cbData = static_cast<DWORD>(text.size() + 1);
    data.lpData = text.data();
    DWORD_PTR answer = 0;
    ::SendMessageTimeoutW(control, WM_COPYDATA, 0, reinterpret_cast<LPARAM>(&data), SMTO_NORMAL,
                          static_cast<UINT>(limit.count()), &answer);
    if (static_cast<LRESULT>(answer) == kOrderDone) {
        return {true, {}};
    }
    if (static_cast<LRESULT>(answer) != kOrderRefused) { // a client that dies on an order cannot answer it
        return {false, WaitForEnd(Milliseconds(500)) ? "the client ended" : "no answer in time"};
    }
    std::string reason = "refused";
    for (const TranscriptEntry& entry : Transcript()) {
        if (entry.kind == "order" && entry.bytes == order) {
            reason = entry.result;
        }
    }
    return {false, reason};
}

bool ClientProcess::IsRunning() const noexcept {
    return process_ && process_->Running();
}

bool ClientProcess::WaitForEnd(Milliseconds limit) const {
    return WaitUntil([&] { return !IsRunning(); }, limit);
}

std::optional<DWORD> ClientProcess::ExitCode() const noexcept {
    return process_ ? process_->WaitForEnd(0) : std::nullopt;
}

bool ClientProcess::Quit(Milliseconds limit) {
    if (IsRunning()) {
        Order("quit", limit);
    }
    const bool ended = WaitForEnd(limit);
    if (!ended) {
        Kill();
    }
    return ended;
}

void ClientProcess::Kill() noexcept {
    if (process_) {
        process_->Terminate(1); // an ended process does not mind
        process_->WaitForEnd(kKillLimit);
    }
    if (deleteTranscript_) {
        ::DeleteFileW(settings_.transcript.c_str());
    }
}

const std::vector<TranscriptEntry>& ClientProcess::Transcript() const {
    std::ifstream file{std::filesystem::path(settings_.transcript), std::ios::binary};
    file.seekg(readUpTo_);
    for (std::string line; std::getline(file, line) && !file.eof();) { // a line without its end is still being written
        readUpTo_ += static_cast<std::streamoff>(line.size() + 1);
        if (auto entry = FromLine(line)) {
            entries_.push_back(std::move(*entry));
        }
    }
    return entries_;
}

std::vector<std::string> ClientProcess::Messages(std::string_view direction) const {
    std::vector<std::string> messages;
    for (const TranscriptEntry& entry : Transcript()) {
        if (entry.kind == "message" && entry.direction == direction) {
            messages.push_back(entry.bytes);
        }
    }
    return messages;
}

std::optional<TranscriptEntry> ClientProcess::WaitForEntry(const std::function<bool(const TranscriptEntry&)>& fits,
                                                           Milliseconds limit) const {
    std::optional<TranscriptEntry> found;
    std::size_t next = 0;
    WaitUntil(
        [&] {
            for (const auto& entries = Transcript(); !found && next < entries.size(); ++next) {
                if (fits(entries[next])) {
                    found = entries[next];
                }
            }
            return found.has_value();
        },
        limit);
    return found;
}

} // namespace meeting_client
