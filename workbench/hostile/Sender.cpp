#include "workbench/hostile/Sender.h"

#include "workbench/hostile/Board.h"
#include "workbench/hostile/Mutations.h"

#include <cstdio>
#include <stdexcept>

namespace hostile {
namespace {

constexpr const wchar_t* kChannelWindow = L"NbmProxyOutlookServerWnd";
constexpr const wchar_t* kNotifyWindow = L"NBM_OUTLOOK_ADDIN_MSGWND";
// Generous: a machine with too much to do is no fault of the add-in.
constexpr UINT kSendLimit = 60'000;       // ms for one message
constexpr ULONGLONG kFindLimit = 60'000;  // ms until a window that was closed is there again
constexpr ULONGLONG kReadLimit = 120'000; // ms in which the add-in reads at least one of the waiting messages
// Whole messages that may wait in the add-in: it reads one per tick and would queue any number.
constexpr std::uint64_t kMostWaiting = 128;

class Sender {
public:
    explicit Sender(const SenderOrders& orders)
        : orders_(orders),
          board_(orders.board, false),
          host_(::OpenProcess(SYNCHRONIZE, FALSE, orders.host)),
          shots_(orders.seed) {}

    void Run();
    void Fail(const char* reason) { std::snprintf(board_->failure, sizeof board_->failure, "%s", reason); }

private:
    void Await();
    void Fire(const Shot& shot);
    void SendText(const Shot& shot);
    void SendOther(const Shot& shot);
    void SendSystem(const Shot& shot);
    void CheckChannelWindow();
    void CloseChannel();
    void Count(const Shot& shot, Outcome outcome);
    HWND FindWindowAgain(const wchar_t* name, const wchar_t* title, HWND gone);
    [[noreturn]] void Stop(const char* what);

    const SenderOrders& orders_;
    SharedBoard board_;
    UniqueHandle host_;
    Mutations shots_;
    HWND channel_ = nullptr;
    HWND notify_ = nullptr;
    std::uint64_t at_ = 0;
};

void Sender::Stop(const char* what) {
    char text[160];
    std::snprintf(text, sizeof text, "%s at message %llu, last error %lu", what, static_cast<unsigned long long>(at_),
                  ::GetLastError());
    throw std::runtime_error(text);
}

void Sender::Run() {
    channel_ = FindWindowAgain(kChannelWindow, kChannelWindow, nullptr);
    notify_ = FindWindowAgain(kNotifyWindow, nullptr, nullptr);
    shots_.Texts().SetEntryId(board_->entryId);
    for (at_ = 0; at_ < orders_.messages; ++at_) {
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
        return shot.IsSystem() ? SendSystem(shot) : SendOther(shot);
    }
}

void Sender::SendText(const Shot& shot) {
    COPYDATASTRUCT data{};
    data.dwData = static_cast<ULONG_PTR>(shot.number);
    data.lpData = shot.null ? nullptr : const_cast<char*>(shot.bytes.data()); // only read
    data.cbData = shot.null ? shot.claimed : static_cast<DWORD>(shot.bytes.size());
    const auto from = static_cast<WPARAM>(shot.number * 2654435761u); // as good as any window
    if (::SendMessageTimeoutW(channel_, WM_COPYDATA, from, reinterpret_cast<LPARAM>(&data), SMTO_NORMAL, kSendLimit,
                              nullptr)) {
        return;
    }
    if (shot.null && ::IsWindow(channel_) && ::GetLastError() != ERROR_TIMEOUT) {
        ++board_->refused; // a system may see by itself that there are no bytes to copy
        return;
    }
    Stop(::IsWindow(channel_) ? "the channel's window does not answer" : "the channel's window is gone");
}

void Sender::SendOther(const Shot& shot) {
    const bool notify = shot.kind == Shot::Kind::NotifyOther;
    // The notification window's message 1025 takes its lParam for a pointer to code that it runs: null is all that can
    // be sent without ending the host.
    const WPARAM wParam = notify ? 0 : static_cast<WPARAM>(shot.number * 2654435761u);
    const LPARAM lParam = notify ? 0 : static_cast<LPARAM>(shot.number * 40503u);
    if (!::SendMessageTimeoutW(notify ? notify_ : channel_, static_cast<UINT>(shot.number), wParam, lParam, SMTO_NORMAL,
                               kSendLimit, nullptr)) {
        Stop(notify ? "the notification window does not answer" : "the channel's window does not answer");
    }
}

/// One of the system's own messages. Their parameters are small and null, except where the system asks for a text.
void Sender::SendSystem(const Shot& shot) {
    const HWND window = shot.kind == Shot::Kind::NotifyOther ? notify_ : channel_;
    const auto message = static_cast<UINT>(shot.number);
    const auto wParam = static_cast<WPARAM>(at_ % 2);
    CREATESTRUCTW create{};
    create.lpszName = create.lpszClass = L"forged";
    LPARAM lParam = 0;
    if (message == WM_CREATE || message == WM_NCCREATE) {
        lParam = reinterpret_cast<LPARAM>(&create);
    } else if (message == WM_SETTEXT) {
        lParam = reinterpret_cast<LPARAM>(create.lpszName);
    }
    ::SetLastError(ERROR_SUCCESS);
    const bool taken =
        shot.posted ? ::PostMessageW(window, message, wParam, lParam) != 0
                    : ::SendMessageTimeoutW(window, message, wParam, lParam, SMTO_NORMAL, kSendLimit, nullptr) != 0;
    if (!taken) {
        if (::GetLastError() == ERROR_TIMEOUT || !::IsWindow(window)) {
            char text[64];
            std::snprintf(text, sizeof text, "a window of the add-in does not take message %u", message);
            Stop(text);
        }
        ++board_->refused; // the platform does not let it go to another process, or not by a queue
    }
    CheckChannelWindow();
}

/// The channel keeps its window, and has no other one: the client would look up a window that drops everything.
void Sender::CheckChannelWindow() {
    if (::FindWindowExW(HWND_MESSAGE, channel_, kChannelWindow, nullptr) != nullptr ||
        FindWindowAgain(kChannelWindow, kChannelWindow, nullptr) != channel_) {
        Stop("the channel has made a second window");
    }
}

void Sender::CloseChannel() {
    if (!::SendMessageTimeoutW(channel_, WM_CLOSE, 0, 0, SMTO_NORMAL, kSendLimit, nullptr)) {
        Stop("the channel's window does not take WM_CLOSE");
    }
    channel_ = FindWindowAgain(kChannelWindow, kChannelWindow, channel_);
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
    if (board_->keptBytes > board_->mostKept) {
        board_->mostKept = shots_.Window().KeptBytes();
    }
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

int Send(const SenderOrders& orders) {
    Sender sender(orders);
    try {
        sender.Run();
        return 0;
    } catch (const std::exception& error) {
        sender.Fail(error.what());
        return 1;
    }
}

} // namespace hostile
