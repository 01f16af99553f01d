#include "workbench/verify/core/Options.h"

#include "workbench/verify/core/Report.h"
#include "workbench/verify/hostile/Board.h"
#include "workbench/verify/hostile/Shots.h"

#include "support/Text.h"
#include "workbench/wire/Window.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>

namespace verify {
namespace {

// Generous: a machine with too much to do is no fault of the add-in.
constexpr UINT kSendLimit = 60'000;        // ms for one message
constexpr ULONGLONG kAwaitLimit = 120'000; // ms until the add-in does what it should
// Whole messages that may wait in the add-in: it reads one per tick and would queue any number.
constexpr std::uint64_t kMostWaiting = 128;

/// Sends everything. It throws std::runtime_error as soon as the add-in does not stand it, and ends with the host.
class Sender {
public:
    explicit Sender(const HostileOptions& options)
        : messages_(options.messages), board_(OpenBoard(ToWide(options.board))), shots_(options.seed, board_.entryId) {}

    void Run() {
        if (channel_ == nullptr || notify_ == nullptr) {
            Stop("a window of the add-in is not there");
        }
        for (; at_ < messages_; ++at_) {
            const Shot shot = shots_.Next();
            if (shot.outcome == Outcome::Complete) {
                Await([this] { return board_.complete < board_.read + kMostWaiting; },
                      "the add-in reads no message any more");
            }
            shot.message == WM_COPYDATA ? FireText(shot) : FireOther(shot);
            Count(shot);
        }
        CheckChannelWindow();
    }

    void Tell() const {
        Report report;
        for (const auto& [what, count] : counts_) {
            report.Row(what, fmt::format("{} ({:.2f} %)", count,
                                         100.0 * static_cast<double>(count) / static_cast<double>(messages_)));
        }
        report.Row("bytes", board_.bytes.load());
        report.Row("bytes of unfinished parts, at most", mostKept_);
        report.Row("bytes of unfinished parts, at the end", board_.keptBytes.load());
        report.Tell();
    }

private:
    template <class Condition>
    void Await(Condition holds, const char* orElse) {
        for (const ULONGLONG since = ::GetTickCount64(); !holds(); ::Sleep(1)) {
            if (::GetTickCount64() - since > kAwaitLimit) {
                Stop(orElse);
            }
        }
    }

    void FireText(const Shot& shot) {
        const auto from = static_cast<WPARAM>(shot.number * 2654435761u); // as good as any window
        const DWORD error = wire::SendBytes(channel_, reinterpret_cast<HWND>(from), shot.number,
                                            shot.bytes ? shot.bytes->data() : nullptr,
                                            shot.bytes ? shot.bytes->size() : shot.claimed, kSendLimit);
        if (!shot.bytes && error != ERROR_SUCCESS && error != ERROR_TIMEOUT && ::IsWindow(channel_)) {
            ++counts_["refused by the system"]; // a system may see by itself that there are no bytes to copy
        } else if (error != ERROR_SUCCESS) {
            Stop(::IsWindow(channel_) ? "the channel's window does not answer" : "the channel's window is gone");
        }
    }

    /// Another message, with parameters from its number. Those of the system's own ones are small and null, except
    /// where it asks for a text. The notification window's message 1025 takes its lParam for a pointer to code that it
    /// runs: null is all that can be sent without ending the host.
    void FireOther(const Shot& shot) {
        const HWND window = shot.toNotifyWindow ? notify_ : channel_;
        CREATESTRUCTW create{};
        create.lpszName = create.lpszClass = L"forged";
        const bool plain = !shot.IsSystem() && !shot.toNotifyWindow;
        const auto wParam = static_cast<WPARAM>(plain ? shot.message * 2654435761u : shot.IsSystem() ? at_ % 2 : 0);
        auto lParam = static_cast<LPARAM>(plain ? shot.message * 40503u : 0);
        if (shot.message == WM_CREATE || shot.message == WM_NCCREATE) {
            lParam = reinterpret_cast<LPARAM>(&create);
        } else if (shot.message == WM_SETTEXT) {
            lParam = reinterpret_cast<LPARAM>(create.lpszName);
        }
        ::SetLastError(ERROR_SUCCESS);
        const bool taken = shot.posted ? ::PostMessageW(window, shot.message, wParam, lParam) != 0
                                       : ::SendMessageTimeoutW(window, shot.message, wParam, lParam, SMTO_NORMAL,
                                                               kSendLimit, nullptr) != 0;
        if (!taken && (!shot.IsSystem() || ::GetLastError() == ERROR_TIMEOUT || !::IsWindow(window))) {
            Stop(fmt::format("a window of the add-in does not take message {}", shot.message));
        }
        // The platform may not let it go to another process, or not by a queue.
        counts_["refused by the system"] += taken ? 0 : 1;
        if (shot.message == WM_CLOSE) { // the number of a window that went may come again only after many others
            const auto isNew = [this, gone = channel_] {
                channel_ = wire::Find(wire::kAddinWindow);
                return channel_ != nullptr && channel_ != gone;
            };
            Await(isNew, "the channel makes no new window");
        } else if (shot.IsSystem()) {
            CheckChannelWindow();
        }
    }

    /// The channel keeps its window, and has no other one: the client would look up a window that drops everything.
    void CheckChannelWindow() {
        if (wire::Find(wire::kAddinWindow) != channel_ ||
            ::FindWindowExW(HWND_MESSAGE, channel_, wire::kAddinWindow, nullptr) != nullptr) {
            Stop("the channel's window is not the one that it was, or has a second one beside it");
        }
    }

    void Count(const Shot& shot) {
        if (shot.message != WM_COPYDATA) {
            ++counts_["not WM_COPYDATA"];
            counts_["not WM_COPYDATA: below WM_USER"] += shot.IsSystem() ? 1 : 0;
            counts_["not WM_COPYDATA: WM_CLOSE to the channel's window"] += shot.message == WM_CLOSE ? 1 : 0;
        } else if (shot.outcome == Outcome::Complete) {
            ++counts_[shot.number == 0 ? "whole messages" : "messages joined from segments"];
            ++board_.complete;
        } else {
            ++counts_[shot.outcome == Outcome::Kept ? "segments kept" : "dropped by the channel's window"];
        }
        board_.bytes += shot.bytes ? shot.bytes->size() : 0;
        board_.keptBytes = shots_.KeptBytes();
        mostKept_ = std::max(mostKept_, shots_.KeptBytes());
        ++board_.sent;
    }

    [[noreturn]] void Stop(const std::string& what) {
        throw std::runtime_error(fmt::format("{} at message {}, last error {}", what, at_, ::GetLastError()));
    }

    const std::uint64_t messages_;
    Board& board_;
    Shots shots_;
    HWND channel_ = wire::Find(wire::kAddinWindow);
    const HWND notify_ = ::FindWindowW(L"NBM_OUTLOOK_ADDIN_MSGWND", nullptr);
    std::uint64_t at_ = 0;
    std::map<std::string, std::uint64_t> counts_;
    std::size_t mostKept_ = 0; // bytes of messages without an end
};

} // namespace

int RunSender(const HostileOptions& options) {
    Sender sender(options);
    sender.Run();
    sender.Tell();
    return kNoViolation;
}

} // namespace verify
