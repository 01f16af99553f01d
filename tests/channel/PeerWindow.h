#pragma once

#include "support/UniqueResource.h"
#include "workbench/wire/Envelope.h"
#include "workbench/wire/Window.h"

#include <windows.h>

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

inline constexpr std::chrono::milliseconds kTestDeadline{10000};

/// A list that one thread fills and another waits on.
template <class Item>
class Inbox {
public:
    void Add(Item item) {
        {
            const std::lock_guard hold(lock_);
            items_.push_back(std::move(item));
        }
        changed_.notify_all();
    }

    std::vector<Item> All() const {
        const std::lock_guard hold(lock_);
        return items_;
    }

    void Clear() {
        const std::lock_guard hold(lock_);
        items_.clear();
    }

    /// @return true when `condition` holds for the list within the deadline.
    bool WaitUntil(const std::function<bool(const std::vector<Item>&)>& condition) const {
        std::unique_lock hold(lock_);
        return changed_.wait_for(hold, kTestDeadline, [&] { return condition(items_); });
    }

    bool WaitForCount(std::size_t count) const {
        return WaitUntil([count](const std::vector<Item>& items) { return items.size() >= count; });
    }

private:
    mutable std::mutex lock_;
    mutable std::condition_variable changed_;
    std::vector<Item> items_;
};

/// One WM_COPYDATA as it came over the wire.
struct WireMessage {
    HWND sender = nullptr;
    ULONG_PTR number = 0;
};

/// The meeting client's side of the channel: a window on a thread of its own. It takes part in the running test: what
/// the add-in's side does against the wire format is a failure. The window exists while the object lives.
class PeerWindow {
public:
    ~PeerWindow() { Wake(); }

    Inbox<WireMessage>& Wire() { return wire_; }
    Inbox<std::string>& Messages() { return messages_; }

    /// From its return to `Wake` the window takes no messages.
    void Hang();
    void Wake() { ::SetEvent(awake_.Get()); }

    /// The add-in's window, waited for. Null when it does not come.
    static HWND FindServer();
    /// Waits for a stopped channel's window to be gone. @return false when it stays.
    static bool WaitForNoServer();
    /// Sends one message to the add-in's window, in segments when it is long. @return false when it was not taken.
    bool Send(std::string_view message);
    /// Sends exactly these bytes. @param text null sends a null pointer.
    static bool SendRaw(HWND server, ULONG_PTR number, const char* text, std::size_t bytes);

private:
    void Take(HWND sender, const COPYDATASTRUCT& data);

    Inbox<WireMessage> wire_;
    Inbox<std::string> messages_;
    wire::Joiner joiner_; // window's thread only
    UniqueHandle hangs_{::CreateEventW(nullptr, FALSE, FALSE, nullptr)};
    UniqueHandle awake_{::CreateEventW(nullptr, TRUE, TRUE, nullptr)};
    std::uint32_t number_ = 40;
    wire::WindowThread window_{wire::kClientWindow, [this](HWND sender, const COPYDATASTRUCT& data) {
                                   Take(sender, data);
                                   return TRUE;
                               }};
};
