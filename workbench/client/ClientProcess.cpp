#include "workbench/client/ClientProcess.h"

#include "workbench/client/Control.h"
#include "workbench/wire/Window.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace meeting_client {
namespace {

constexpr DWORD kKillLimit = 5000; // ms

[[noreturn]] void Fail(const std::string& what, DWORD error) {
    throw std::runtime_error("meeting client: " + what + ": error " + std::to_string(error));
}

std::wstring FindProgram() {
    wchar_t text[32'768];
    const DWORD given = ::GetEnvironmentVariableW(L"NEMBRA_MEETING_CLIENT", text, static_cast<DWORD>(std::size(text)));
    if (given > 0 && given < std::size(text)) {
        return text;
    }
    const DWORD length = ::GetModuleFileNameW(nullptr, text, static_cast<DWORD>(std::size(text)));
    std::filesystem::path folder = std::filesystem::path(std::wstring(text, length)).parent_path();
    const std::filesystem::path flavour = folder.filename(); // multi-configuration builds add such a folder
    constexpr wchar_t kName[] = L"meeting_client.exe";
    for (bool more = true; more; more = folder != folder.parent_path(), folder = folder.parent_path()) {
        const std::filesystem::path built = folder / L"workbench" / L"client";
        for (const auto& candidate : {folder / kName, built / kName, built / flavour / kName}) {
            std::error_code ignored;
            if (std::filesystem::is_regular_file(candidate, ignored)) {
                return candidate.wstring();
            }
        }
    }
    throw std::runtime_error("meeting client: meeting_client.exe is not there; set NEMBRA_MEETING_CLIENT");
}

std::wstring NewTranscript() {
    wchar_t folder[MAX_PATH + 1] = L"";
    wchar_t file[MAX_PATH] = L"";
    if (!::GetTempPathW(static_cast<DWORD>(std::size(folder)), folder) ||
        !::GetTempFileNameW(folder, L"nmc", 0, file)) {
        const DWORD error = ::GetLastError();
        Fail("no temporary file for the transcript", error);
    }
    return file;
}

} // namespace

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
    DWORD owner = 0;
    ::GetWindowThreadProcessId(::FindWindowExW(HWND_MESSAGE, nullptr, kControlWindow, kControlWindow), &owner);
    return owner;
}

void ClientProcess::Launch() {
    std::vector<std::wstring> arguments = {L"--transcript", settings_.transcript, L"--parent",
                                           std::to_wstring(::GetCurrentProcessId())};
    arguments.insert(arguments.end(), settings_.arguments.begin(), settings_.arguments.end());
    process_.emplace(settings_.program.empty() ? FindProgram() : settings_.program, arguments, process::Streams::Own);
}

HWND ClientProcess::OwnWindow(const wchar_t* name) const noexcept {
    for (const HWND parent : {HWND_MESSAGE, HWND{nullptr}}) {
        HWND window = nullptr;
        while ((window = ::FindWindowExW(parent, window, name, name)) != nullptr) {
            DWORD owner = 0;
            ::GetWindowThreadProcessId(window, &owner);
            if (owner == ProcessId()) {
                return window;
            }
        }
    }
    return nullptr;
}

HWND ClientProcess::Window() const noexcept {
    return OwnWindow(wire::kClientWindow);
}

bool ClientProcess::WaitForWindow(Milliseconds limit) const {
    return WaitUntil([&] { return Window() != nullptr; }, limit);
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
    if (!::SendMessageTimeoutW(control, WM_COPYDATA, 0, reinterpret_cast<LPARAM>(&data), SMTO_NORMAL,
                               static_cast<UINT>(limit.count()), &answer)) {
        // A client that dies on an order cannot answer it.
        return {false, WaitForEnd(Milliseconds(500)) ? "the client ended" : "no answer in time"};
    }
    if (static_cast<LRESULT>(answer) == kOrderDone) {
        return {true, {}};
    }
    if (static_cast<LRESULT>(answer) != kOrderRefused) {
        return {false, WaitForEnd(Milliseconds(500)) ? "the client ended" : "the client did not understand"};
    }
    std::string reason = "refused";
    for (const TranscriptEntry& entry : ReadOn()) {
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
        process_->Terminate(1);
        process_->WaitForEnd(kKillLimit);
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

const std::vector<TranscriptEntry>& ClientProcess::ReadOn() const {
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

std::vector<TranscriptEntry> ClientProcess::Transcript() const {
    return ReadOn();
}

std::vector<std::string> ClientProcess::Messages(std::string_view direction) const {
    std::vector<std::string> messages;
    for (const TranscriptEntry& entry : ReadOn()) {
        if (entry.kind == "message" && entry.direction == direction) {
            messages.push_back(entry.bytes);
        }
    }
    return messages;
}

bool ClientProcess::WaitForMessages(std::size_t count, Milliseconds limit, std::string_view direction) const {
    std::size_t seen = 0;
    std::size_t next = 0;
    return WaitUntil(
        [&] {
            for (const auto& entries = ReadOn(); next < entries.size(); ++next) {
                seen += entries[next].kind == "message" && entries[next].direction == direction ? 1 : 0;
            }
            return seen >= count;
        },
        limit);
}

std::optional<TranscriptEntry> ClientProcess::WaitForEntry(const std::function<bool(const TranscriptEntry&)>& fits,
                                                           Milliseconds limit) const {
    std::optional<TranscriptEntry> found;
    std::size_t next = 0;
    WaitUntil(
        [&] {
            for (const auto& entries = ReadOn(); !found && next < entries.size(); ++next) {
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
