#pragma once

#include <windows.h>

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
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
    DWORD bytes = 0;
    std::string text; // without the terminator
    bool terminated = false;
};

/// The meeting client's side of the channel: a real hidden window on a thread of its own, with its own idea of how
/// messages are joined. The window exists, and its thread pumps, while the object lives.
class PeerWindow {
public:
    PeerWindow();
    ~PeerWindow();
    PeerWindow(const PeerWindow&) = delete;
    PeerWindow& operator=(const PeerWindow&) = delete;

    Inbox<WireMessage>& Wire() { return wire_; }
    Inbox<std::string>& Messages() { return messages_; }
    HWND Window() const { return window_; }

    /// From its return to `Wake` the window takes no messages.
    void Hang();
    void Wake();

    /// The add-in's window, waited for. Null when it does not come.
    static HWND FindServer();
    /// Waits for a stopped channel's window to be gone. @return false when it stays.
    static bool WaitForNoServer();
    /// Sends one message to the add-in's window, in segments when it is long. @return false when it was not taken.
    bool Send(std::string_view message);
    /// Sends exactly these bytes. @param text null sends a null pointer.
    static bool SendRaw(HWND server, ULONG_PTR number, const char* text, std::size_t bytes);

private:
    static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    void Run();
    void Take(HWND sender, const COPYDATASTRUCT& data);

    Inbox<WireMessage> wire_;
    Inbox<std::string> messages_;
    std::map<ULONG_PTR, std::string> parts_; // peer thread only
    HANDLE ready_;                           // the window is made, or hangs as asked
    HANDLE awake_;
    HWND window_ = nullptr;
    ULONG_PTR number_ = 40;
    std::thread thread_;
};
