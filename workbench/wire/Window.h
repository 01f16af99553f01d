#pragma once

#include "support/UniqueResource.h"

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>
#include <thread>
#include <vector>

namespace wire {

// Window classes, and at the same time titles.
inline constexpr wchar_t kClientWindow[] = L"NbmProxyOutlookClientWnd";
inline constexpr wchar_t kAddinWindow[] = L"NbmProxyOutlookServerWnd";

inline constexpr UINT kSendLimit = 5000; // ms for each WM_COPYDATA

/// The first channel window of that name on the desktop; null when there is none.
HWND Find(const wchar_t* name) noexcept;

/// All windows of that class, channel windows and others. @param title null for any.
std::vector<HWND> FindAll(const wchar_t* windowClass, const wchar_t* title);

DWORD ProcessOf(HWND window) noexcept; ///< its id; 0 when there is no such window

/// Sends one WM_COPYDATA with just these bytes. Messages sent to the caller's windows wait meanwhile.
/// @param from null for none. @param bytes may be null. @return ERROR_SUCCESS, or why it was not taken.
DWORD SendBytes(HWND to, HWND from, std::uint64_t number, const char* bytes, std::size_t size,
                UINT limit = kSendLimit) noexcept;

/// Sends a message, in segments of `number` when it is long. The envelopes after a refused one are not sent.
/// @return false when it was not taken.
bool Send(HWND to, HWND from, std::string_view message, std::uint32_t number);

/// A channel window. It belongs to the thread that makes it.
class Window {
public:
    /// Called inside the window procedure, while the sender waits. Its result is the sender's answer.
    using Receive = std::function<LRESULT(HWND sender, const COPYDATASTRUCT& data)>;

    /// @throws std::runtime_error when the window cannot be made.
    Window(const wchar_t* name, Receive receive);
    Window(const Window&) = delete;
    Window& operator=(const Window&) = delete;

    HWND Get() const noexcept { return window_.Get(); }

private:
    static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) noexcept;

    Receive receive_;
    UniqueWindow window_;
};

/// A channel window on a thread of its own, which takes messages while the object lives.
class WindowThread {
public:
    /// `receive` runs on that thread. @throws std::runtime_error when the window cannot be made.
    WindowThread(const wchar_t* name, Window::Receive receive);
    ~WindowThread();
    WindowThread(const WindowThread&) = delete;
    WindowThread& operator=(const WindowThread&) = delete;

    HWND Get() const noexcept { return window_; }

    /// Runs `action` on that thread between two messages. Does not wait for it.
    void Post(std::function<void()> action);

private:
    HWND window_ = nullptr;
    DWORD threadId_ = 0; // kept: a window that somebody else has closed does not tell it
    std::thread thread_;
};

} // namespace wire
