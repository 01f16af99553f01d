// The task's hidden window and the thread that pumps its messages.
#include "channel/CMessageTask.h"

#include "support/UniqueResource.h"

#include <process.h>

#include <cstring>

namespace {

constexpr const wchar_t* kOwnWindowName = L"NbmProxyOutlookServerWnd";

/// The log texts print a handle by "%d". The cast loses nothing, because window handles have 32 significant bits.
int HandleNumber(HWND window) {
    return static_cast<int>(reinterpret_cast<INT_PTR>(window));
}

/// @return the sent text up to its terminator, or all of the data when there is no terminator.
std::string_view CarriedText(const COPYDATASTRUCT& data) {
    if (data.lpData == nullptr || data.cbData == 0) {
        return {};
    }
    const auto* text = static_cast<const char*>(data.lpData);
    const auto* end = static_cast<const char*>(std::memchr(text, '\0', data.cbData));
    return {text, end != nullptr ? static_cast<std::size_t>(end - text) : data.cbData};
}

} // namespace

bool CMessageTask::StartWindowThread(const std::shared_ptr<CMessageTask>& task) {
    auto argument = std::make_unique<std::shared_ptr<CMessageTask>>(task);
    const UniqueHandle thread(
        reinterpret_cast<HANDLE>(::_beginthreadex(nullptr, 0, WindowThread, argument.get(), 0, nullptr)));
    if (!thread) {
        return false;
    }
    static_cast<void>(argument.release()); // the thread frees it
    return true;
}

unsigned __stdcall CMessageTask::WindowThread(void* argument) noexcept {
    const std::unique_ptr<std::shared_ptr<CMessageTask>> task(static_cast<std::shared_ptr<CMessageTask>*>(argument));
    (*task)->MsgThreadProc();
    return 0;
}

void CMessageTask::MsgThreadProc() noexcept {
    windowThread_ = ::GetCurrentThreadId();
    try {
        while (!stopping_) {
            CreateWndAndMsg();
        }
    } catch (...) {
        // Only exhausted memory leads here. The window is destroyed, and the sends then report that it is missing.
    }
    RemoveWindow();
    WriteLog("CMessageTask::MsgThreadProc end");
}

void CMessageTask::CreateWndAndMsg() {
    if (Current().get() != this) {
        Log("CMessageTask::CreateWndAndMsg m_gMessageTask is nullptr");
        return;
    }
    CreateMsgWind();
    // `DestoryMsgWind` sets the flag before it looks for the window. This thread creates the window before it reads
    // the flag, so at least one of the two notices the other.
    if (stopping_) {
        return;
    }
    MSG message{};
    while (::GetMessageW(&message, nullptr, 0, 0) > 0) {
        Log("CMessageTask::CreateWndAndMsg wnd = %d, message = %d", HandleNumber(message.hwnd),
            static_cast<int>(message.message));
        ::TranslateMessage(&message);
        ::DispatchMessageW(&message);
    }
    Log("CMessageTask::CreateWndAndMsg end");
}

int32_t CMessageTask::CreateMsgWind() {
    if (LiveWindow() != nullptr) {
        Log("CMessageTask::CreateMsgWind hSendWindow is exist");
        return 0;
    }
    WNDCLASSEXW windowClass{};
    windowClass.cbSize = sizeof(windowClass);
    windowClass.style = CS_VREDRAW | CS_HREDRAW;
    windowClass.lpfnWndProc = WndProc;
    windowClass.hbrBackground = reinterpret_cast<HBRUSH>(static_cast<INT_PTR>(COLOR_WINDOW + 1));
    windowClass.lpszClassName = kOwnWindowName;
    // The class is never unregistered: its procedure stays mapped, because the channel's start pins the module.
    if (::RegisterClassExW(&windowClass) == 0) {
        const DWORD error = ::GetLastError(); // normally the class of an earlier window exists
        Log("CMessageTask::CreateMsgWind RegisterClassEx err=%d", static_cast<int>(error));
    }
    const HWND window =
        ::CreateWindowExW(0, kOwnWindowName, kOwnWindowName, WS_OVERLAPPEDWINDOW, CW_USEDEFAULT, CW_USEDEFAULT,
                          CW_USEDEFAULT, CW_USEDEFAULT, HWND_MESSAGE, nullptr, nullptr, nullptr);
    if (window == nullptr) {
        const DWORD error = ::GetLastError();
        Log("CMessageTask::CreateMsgWind creatWind err=%d", static_cast<int>(error));
        return -1;
    }
    ownWindow_ = window;
    Log("CMessageTask::CreateMsgWind creatWind success, m_hSendWnd = %d", HandleNumber(window));
    return 0;
}

void CMessageTask::DestoryMsgWind() {
    stopping_ = true;
    if (const HWND window = LiveWindow(); window != nullptr) {
        const BOOL posted = ::PostMessageW(window, WM_CLOSE, 0, 0);
        Log("CMessageTask::DestoryMsgWind ret=%d", static_cast<int>(posted));
    } else if (windowThread_ != 0) {
        // The thread may be waiting although it could not create its window. While it has no message queue yet, the
        // post fails, and the thread reads the flag afterwards.
        ::PostThreadMessageW(windowThread_, WM_QUIT, 0, 0);
    }
}

/// Destroys the window at the end of its thread. The platform refuses a window of another thread.
void CMessageTask::RemoveWindow() noexcept {
    ::DestroyWindow(ownWindow_.exchange(nullptr));
}

/// @return the own window, or null while there is none.
/// Only the platform knows whether the window lives: any program can send it WM_DESTROY, so the procedure never clears
/// the handle. The platform reuses handles, but the window thread creates no other window than this one.
HWND CMessageTask::LiveWindow() const noexcept {
    const HWND window = ownWindow_;
    const DWORD owner = ::GetWindowThreadProcessId(window, nullptr);
    return owner != 0 && owner == windowThread_ ? window : nullptr;
}

std::shared_ptr<CMessageTask> CMessageTask::OwnerOf(HWND window) {
    auto task = Current();
    return task && task->ownWindow_ == window ? task : nullptr;
}

LRESULT CALLBACK CMessageTask::WndProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) noexcept {
    try {
        if (message == WM_DESTROY) {
            WriteLog("CMessageTask::WndProc window was destroyed");
            ::PostQuitMessage(0);
        } else if (message == WM_COPYDATA && lParam != 0) {
            // A window that outlives its task belongs to no task, even when a new task has started.
            if (const auto task = OwnerOf(window)) {
                task->TakeCopyData(*reinterpret_cast<const COPYDATASTRUCT*>(lParam));
            }
        }
    } catch (...) {
        // Only exhausted memory leads here. The message is lost, and the window lives on.
    }
    const LRESULT result = ::DefWindowProcW(window, message, wParam, lParam);
    if (message == WM_SETTEXT || message == WM_NCCREATE || message == WM_NCDESTROY) {
        // Any program can send these three, and each changes the title, by which the client finds the window.
        ::DefWindowProcW(window, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(kOwnWindowName));
    }
    return result;
}

void CMessageTask::TakeCopyData(const COPYDATASTRUCT& data) {
    const std::string_view text = CarriedText(data);
    if (data.dwData == 0) {
        if (!text.empty()) {
            PushReceived(std::string(text));
        }
        return;
    }
    if (const auto body = SegmentBody(text)) {
        PushRevSegMessage(*body, static_cast<uint32_t>(data.dwData));
    }
}
