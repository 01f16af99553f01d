#pragma once

#include <windows.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <future>
#include <mutex>
#include <string>
#include <thread>
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

    FakeAddin() {
        std::promise<HWND> made;
        thread_ = std::thread([this, &made] { Run(made); });
        window_ = made.get_future().get();
    }

    ~FakeAddin() {
        ::PostMessageW(window_, WM_CLOSE, 0, 0);
        thread_.join();
    }

    FakeAddin(const FakeAddin&) = delete;
    FakeAddin& operator=(const FakeAddin&) = delete;

    HWND Window() const { return window_; }

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
        std::string bytes = text;
        COPYDATASTRUCT data{number, static_cast<DWORD>(bytes.size() + 1), bytes.data()};
        DWORD_PTR answer = 0;
        return ::SendMessageTimeoutW(client, WM_COPYDATA, reinterpret_cast<WPARAM>(window_),
                                     reinterpret_cast<LPARAM>(&data), SMTO_BLOCK | SMTO_ABORTIFHUNG, limit,
                                     &answer) != 0;
    }

private:
    static constexpr wchar_t kName[] = L"NbmProxyOutlookServerWnd";

    void Run(std::promise<HWND>& made) {
        WNDCLASSEXW windowClass{};
        windowClass.cbSize = sizeof windowClass;
        windowClass.lpfnWndProc = &FakeAddin::WindowProc;
        windowClass.hInstance = ::GetModuleHandleW(nullptr);
        windowClass.lpszClassName = kName;
        ::RegisterClassExW(&windowClass);
        const HWND window =
            ::CreateWindowExW(0, kName, kName, 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, windowClass.hInstance, nullptr);
        ::SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
        made.set_value(window);
        MSG message;
        while (::GetMessageW(&message, nullptr, 0, 0) > 0) {
            ::DispatchMessageW(&message);
        }
    }

    static LRESULT CALLBACK WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
        auto* fake = reinterpret_cast<FakeAddin*>(::GetWindowLongPtrW(window, GWLP_USERDATA));
        if (message == WM_COPYDATA && fake && lParam) {
            const auto* data = reinterpret_cast<const COPYDATASTRUCT*>(lParam);
            Received received{reinterpret_cast<HWND>(wParam), data->dwData, data->cbData, !data->lpData, {}};
            if (data->lpData) {
                received.bytes.assign(static_cast<const char*>(data->lpData), data->cbData);
            }
            {
                const std::lock_guard<std::mutex> hold(fake->lock_);
                fake->received_.push_back(std::move(received));
                fake->arrived_.notify_all();
            }
            ::Sleep(fake->answerDelay_);
        }
        if (message == WM_DESTROY) {
            ::PostQuitMessage(0);
        }
        return ::DefWindowProcW(window, message, wParam, lParam);
    }

    std::mutex lock_;
    std::condition_variable arrived_;
    std::vector<Received> received_;
    std::atomic<DWORD> answerDelay_{0};
    std::thread thread_;
    HWND window_ = nullptr;
};
