#pragma once

#include "workbench/wire/Window.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

/// The add-in's channel window on a thread of its own. It keeps what it gets and says what the test lets it say.
class FakeAddin {
public:
    struct Received {
        HWND sender;
        ULONG_PTR number;
        DWORD size;
        bool null;
        std::string bytes; // all of them, the terminating NUL included
    };

    HWND Window() const { return window_.Get(); }

    /// Waits until `count` WM_COPYDATA have come; gives what is there by then.
    std::vector<Received> WaitFor(std::size_t count) {
        std::unique_lock<std::mutex> hold(lock_);
        arrived_.wait_for(hold, std::chrono::seconds(10), [&] { return received_.size() >= count; });
        return received_;
    }

    /// From now on it answers each WM_COPYDATA only after that time, as on a busy machine.
    void AnswerAfter(DWORD milliseconds) { answerDelay_ = milliseconds; }

    /// Sends text and NUL as the add-in does. @return false when the client did not take it within the limit.
    bool Tell(HWND client, const std::string& text, ULONG_PTR number = 0, UINT limit = 3000) const {
        return wire::SendBytes(client, Window(), number, text.c_str(), text.size() + 1, limit) == ERROR_SUCCESS;
    }

private:
    bool Take(HWND sender, const COPYDATASTRUCT& data) {
        Received received{sender, data.dwData, data.cbData, !data.lpData, {}};
        if (data.lpData) {
            received.bytes.assign(static_cast<const char*>(data.lpData), data.cbData);
        }
        {
            const std::lock_guard<std::mutex> hold(lock_);
            received_.push_back(std::move(received));
            arrived_.notify_all();
        }
        ::Sleep(answerDelay_);
        return true;
    }

    std::mutex lock_;
    std::condition_variable arrived_;
    std::vector<Received> received_;
    std::atomic<DWORD> answerDelay_{0};
    wire::WindowThread window_{wire::kAddinWindow,
                               [this](HWND sender, const COPYDATASTRUCT& data) { return Take(sender, data); }};
};
