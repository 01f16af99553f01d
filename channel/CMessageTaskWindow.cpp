// The task's hidden window and the thread that pumps its messages.
#include "channel/CMessageTask.h"

#include "channel/CMessageTaskState.h"
#include "support/UniqueResource.h"

#include <process.h>

#include <cstring>

namespace {

constexpr const wchar_t* kOwnWindowName = L"NbmProxyOutlookServerWnd";

/// Handles travel to the log as the int that "%d" takes; window handles have 32 significant bits.
int HandleNumber(HWND window) {
    return static_cast<int>(reinterpret_cast<INT_PTR>(window));
}

/// The sender's text ends at its terminator or, when that is missing, with the data.
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
    argument.release(); // the thread frees it
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
        // Only exhausted memory leads here; the window goes and the sends report it missing.
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
    // `DestoryMsgWind` sets the flag first and looks for the window then; here it is the other way round, so one of
    // the two sees the other.
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
    if (::IsWindow(ownWindow_)) {
        Log("CMessageTask::CreateMsgWind hSendWindow is exist");
        return 0;
    }
    WNDCLASSEXW windowClass{};
    windowClass.cbSize = sizeof(windowClass);
    windowClass.style = CS_VREDRAW | CS_HREDRAW;
    windowClass.lpfnWndProc = WndProc;
    windowClass.hbrBackground = reinterpret_cast<HBRUSH>(static_cast<INT_PTR>(COLOR_WINDOW + 1));
    windowClass.lpszClassName = kOwnWindowName;
    DWORD classError = 0;
    DWORD windowError = 0;
    HWND window = nullptr;
    {
        MC_Lock hold(&State().classLock);
        classError = ::RegisterClassExW(&windowClass) != 0 ? ERROR_SUCCESS : ::GetLastError();
        window = ::CreateWindowExW(0, kOwnWindowName, kOwnWindowName, WS_OVERLAPPEDWINDOW, CW_USEDEFAULT, CW_USEDEFAULT,
                                   CW_USEDEFAULT, CW_USEDEFAULT, HWND_MESSAGE, nullptr, nullptr, nullptr);
        windowError = window != nullptr ? ERROR_SUCCESS : ::GetLastError();
        ownWindow_ = window;
    }
    if (classError != ERROR_SUCCESS) { // normally the class of an earlier window
        Log("CMessageTask::CreateMsgWind RegisterClassEx err=%d", static_cast<int>(classError));
    }
    if (window == nullptr) {
        Log("CMessageTask::CreateMsgWind creatWind err=%d", static_cast<int>(windowError));
        return -1;
    }
    Log("CMessageTask::CreateMsgWind creatWind success, m_hSendWnd = %d", HandleNumber(window));
    return 0;
}

void CMessageTask::DestoryMsgWind() {
    stopping_ = true;
    const HWND window = ownWindow_;
    if (::IsWindow(window)) {
        const BOOL posted = ::PostMessageW(window, WM_CLOSE, 0, 0);
        Log("CMessageTask::DestoryMsgWind ret=%d", static_cast<int>(posted));
    } else if (windowThread_ != 0) {
        // The thread may be waiting although its window could not be created. When it has no queue yet, this fails
        // and the thread finds the flag.
        ::PostThreadMessageW(windowThread_, WM_QUIT, 0, 0);
    }
}

/// The window goes for good, on its own thread. The class goes with it, or else it would keep a procedure of a module
/// that may be gone; while a successor's window lives, it stays.
void CMessageTask::RemoveWindow() noexcept {
    const HWND window = ownWindow_.exchange(nullptr);
    if (::IsWindow(window)) {
        ::DestroyWindow(window);
    }
    MC_Lock hold(&State().classLock);
    ::UnregisterClassW(kOwnWindowName, ::GetModuleHandleW(nullptr)); // the module that a null instance stands for
}

std::shared_ptr<CMessageTask> CMessageTask::OwnerOf(HWND window) {
    auto task = Current();
    return task && task->ownWindow_ == window ? task : nullptr;
}

LRESULT CALLBACK CMessageTask::WndProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) noexcept {
    try {
        // A window that outlives its task belongs to none, even when a new task has started.
        const auto task = OwnerOf(window);
        if (message == WM_DESTROY) {
            WriteLog("CMessageTask::WndProc window was destroyed");
            if (task) {
                task->ownWindow_ = nullptr; // the number may soon belong to somebody else's window
            }
            ::PostQuitMessage(0);
        } else if (message == WM_COPYDATA && lParam != 0 && task) {
            task->TakeCopyData(*reinterpret_cast<const COPYDATASTRUCT*>(lParam));
        }
    } catch (...) {
        // Only exhausted memory leads here: the message is lost, the window lives on.
    }
    return ::DefWindowProcW(window, message, wParam, lParam);
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
