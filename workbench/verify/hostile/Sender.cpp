#include "workbench/verify/core/Options.h"

#include "workbench/verify/core/Report.h"
#include "workbench/verify/hostile/Board.h"
#include "workbench/verify/hostile/Mutations.h"

#include "support/Text.h"
#include "workbench/wire/Window.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <stdexcept>

namespace verify {
namespace {

constexpr const wchar_t* kNotifyWindow = L"NBM_OUTLOOK_ADDIN_MSGWND";
// Generous: a machine with too much to do is no fault of the add-in.
constexpr UINT kSendLimit = 60'000;       // ms for one message
constexpr ULONGLONG kFindLimit = 60'000;  // ms until a window that was closed is there again
constexpr ULONGLONG kReadLimit = 120'000; // ms in which the add-in reads at least one of the waiting messages
// Whole messages that may wait in the add-in: it reads one per tick and would queue any number.
constexpr std::uint64_t kMostWaiting = 128;

class Sender {
public:
    explicit Sender(const HostileOptions& options)
        : messages_(options.messages),
          board_(ToWide(options.board), false),
          host_(::OpenProcess(SYNCHRONIZE, FALSE, options.host)),
          shots_(options.seed) {}

    void Run();
    void Fail(const char* reason) { std::snprintf(board_->failure, sizeof board_->failure, "%s", reason); }

private:
    void Await();
    void Fire(const Shot& shot);
    void SendText(const Shot& shot);
    void SendOther(const Shot& shot);
    void CheckChannelWindow();
    void CloseChannel();
    void Count(const Shot& shot, Outcome outcome);
    HWND FindWindowAgain(const wchar_t* name, const wchar_t* title, HWND gone);
    [[noreturn]] void Stop(const std::string& what);

    const std::uint64_t messages_;
    SharedBoard board_;
    UniqueHandle host_;
    Mutations shots_;
    HWND channel_ = nullptr;
    HWND notify_ = nullptr;
    std::uint64_t at_ = 0;
};

void Sender::Stop(const std::string& what) {
    throw std::runtime_error(fmt::format("{} at message {}, last error {}", what, at_, ::GetLastError()));
}

void Sender::Run() {
    channel_ = FindWindowAgain(wire::kAddinWindow, wire::kAddinWindow, nullptr);
    notify_ = FindWindowAgain(kNotifyWindow, nullptr, nullptr);
    shots_.Texts().SetEntryId(board_->entryId);
    for (at_ = 0; at_ < messages_; ++at_) {
        Outcome outcome = Outcome::Dropped;
        const Shot shot = shots_.Next(outcome);
        if (outcome == Outcome::Complete) {
            Await();
        }
        Fire(shot);
        Count(shot, outcome);
    }
    CheckChannelWindow();
}

/// Holds back while too many messages wait in the add-in.
void Sender::Await() {
    std::uint64_t read = board_->read;
    ULONGLONG since = ::GetTickCount64();
    while (board_->complete - read >= kMostWaiting) {
        if (::WaitForSingleObject(host_.Get(), 5) != WAIT_TIMEOUT) {
            Stop("the host has ended");
        }
        if (const std::uint64_t now = board_->read; now != read) {
            read = now;
            since = ::GetTickCount64();
        } else if (::GetTickCount64() - since > kReadLimit) {
            Stop("the add-in reads no message any more");
        }
    }
}

void Sender::Fire(const Shot& shot) {
    switch (shot.kind) {
    case Shot::Kind::CopyData:
        return SendText(shot);
    case Shot::Kind::CloseChannel:
        return CloseChannel();
    default:
        return SendOther(shot);
    }
}

void Sender::SendText(const Shot& shot) {
    const auto from = static_cast<WPARAM>(shot.number * 2654435761u); // as good as any window
    const DWORD error =
        wire::SendBytes(channel_, reinterpret_cast<HWND>(from), shot.number, shot.null ? nullptr : shot.bytes.data(),
                        shot.null ? shot.claimed : shot.bytes.size(), kSendLimit);
    if (shot.null && error != ERROR_SUCCESS && error != ERROR_TIMEOUT && ::IsWindow(channel_)) {
        ++board_->refused; // a system may see by itself that there are no bytes to copy
    } else if (error != ERROR_SUCCESS) {
        Stop(::IsWindow(channel_) ? "the channel's window does not answer" : "the channel's window is gone");
    }
}

/// Another message, with parameters from its number. Those of the system's own ones are small and null, except where it
/// asks for a text. The notification window's message 1025 takes its lParam for a pointer to code that it runs: null is
/// all that can be sent without ending the host.
void Sender::SendOther(const Shot& shot) {
    const bool notify = shot.kind == Shot::Kind::NotifyOther;
    const HWND window = notify ? notify_ : channel_;
    const auto message = static_cast<UINT>(shot.number);
    CREATESTRUCTW create{};
    create.lpszName = create.lpszClass = L"forged";
    WPARAM wParam = notify ? 0 : static_cast<WPARAM>(shot.number * 2654435761u);
    LPARAM lParam = notify ? 0 : static_cast<LPARAM>(shot.number * 40503u);
    if (shot.IsSystem()) {
        wParam = static_cast<WPARAM>(at_ % 2);
        lParam = message == WM_CREATE || message == WM_NCCREATE ? reinterpret_cast<LPARAM>(&create)
                 : message == WM_SETTEXT                        ? reinterpret_cast<LPARAM>(create.lpszName)
                                                                : 0;
    }
    ::SetLastError(ERROR_SUCCESS);
    const bool taken =
        shot.posted ? ::PostMessageW(window, message, wParam, lParam) != 0
                    : ::SendMessageTimeoutW(window, message, wParam, lParam, SMTO_NORMAL, kSendLimit, nullptr) != 0;
    if (!taken && (!shot.IsSystem() || ::GetLastError() == ERROR_TIMEOUT || !::IsWindow(window))) {
        Stop(fmt::format("a window of the add-in does not take message {}", message));
    }
    board_->refused += taken ? 0 : 1; // the platform does not let it go to another process, or not by a queue
    if (shot.IsSystem()) {
        CheckChannelWindow();
    }
}

/// The channel keeps its window, and has no other one: the client would look up a window that drops everything.
void Sender::CheckChannelWindow() {
    if (::FindWindowExW(HWND_MESSAGE, channel_, wire::kAddinWindow, nullptr) != nullptr ||
        FindWindowAgain(wire::kAddinWindow, wire::kAddinWindow, nullptr) != channel_) {
        Stop("the channel has made a second window");
    }
}

void Sender::CloseChannel() {
    if (!::SendMessageTimeoutW(channel_, WM_CLOSE, 0, 0, SMTO_NORMAL, kSendLimit, nullptr)) {
        Stop("the channel's window does not take WM_CLOSE");
    }
    channel_ = FindWindowAgain(wire::kAddinWindow, wire::kAddinWindow, channel_);
}

/// The number of a window that went may come again only after many others.
HWND Sender::FindWindowAgain(const wchar_t* name, const wchar_t* title, HWND gone) {
    const ULONGLONG since = ::GetTickCount64();
    for (;;) {
        const HWND window = ::FindWindowW(name, title);
        const HWND found = window != nullptr ? window : ::FindWindowExW(HWND_MESSAGE, nullptr, name, title);
        if (found != nullptr && found != gone) {
            return found;
        }
        if (::GetTickCount64() - since > kFindLimit) {
            Stop("a window of the add-in is not there");
        }
        ::Sleep(1);
    }
}

void Sender::Count(const Shot& shot, Outcome outcome) {
    board_->bytes += shot.bytes.size();
    board_->keptBytes = shots_.Window().KeptBytes();
    board_->mostKept = std::max<std::uint64_t>(board_->mostKept, board_->keptBytes);
    if (shot.kind == Shot::Kind::CloseChannel) {
        ++board_->closes;
    } else if (shot.kind != Shot::Kind::CopyData) {
        ++board_->other;
        board_->system += shot.IsSystem() ? 1 : 0;
    } else if (outcome == Outcome::Complete) {
        ++(shot.number == 0 ? board_->whole : board_->joined);
        ++board_->complete;
    } else {
        ++(outcome == Outcome::Kept ? board_->kept : board_->dropped);
    }
    ++board_->sent;
}

} // namespace

int RunSender(const HostileOptions& options) {
    Sender sender(options);
    try {
        sender.Run();
        return kNoViolation;
    } catch (const std::exception& error) {
        sender.Fail(error.what());
        return kViolations;
    }
}

} // namespace verify
