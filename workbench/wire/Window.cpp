#include "workbench/wire/Window.h"

#include "workbench/wire/Envelope.h"

#include <algorithm>
#include <future>
#include <memory>
#include <optional>
#include <stdexcept>

namespace wire {
namespace {

constexpr UINT kRun = WM_APP + 1; // to the thread: lParam owns a std::function<void()>

} // namespace

// A message-only window is no child of the desktop, so a search by name alone need not find it.
HWND Find(const wchar_t* name) noexcept {
    const HWND found = ::FindWindowExW(HWND_MESSAGE, nullptr, name, name);
    return found ? found : ::FindWindowW(name, name);
}

std::vector<HWND> FindAll(const wchar_t* windowClass, const wchar_t* title) {
    std::vector<HWND> windows;
    for (const HWND parent : {HWND_MESSAGE, HWND(nullptr)}) {
        for (HWND next = nullptr; (next = ::FindWindowExW(parent, next, windowClass, title)) != nullptr;) {
            if (std::ranges::find(windows, next) == windows.end()) { // the second search may find both kinds
                windows.push_back(next);
            }
        }
    }
    return windows;
}

DWORD ProcessOf(HWND window) noexcept {
    DWORD process = 0;
    ::GetWindowThreadProcessId(window, &process);
    return process;
}

DWORD SendBytes(HWND to, HWND from, std::uint64_t number, const char* bytes, std::size_t size, UINT limit) noexcept {
    COPYDATASTRUCT data{};
    data.dwData = static_cast<ULONG_PTR>(number);
    data.cbData = static_cast<DWORD>(size);
    data.lpData = const_cast<char*>(bytes); // the structure serves both directions; the receiver gets a copy
    ::SetLastError(ERROR_TIMEOUT);          // not every failure sets one
    const LRESULT taken =
        ::SendMessageTimeoutW(to, WM_COPYDATA, reinterpret_cast<WPARAM>(from), reinterpret_cast<LPARAM>(&data),
                              SMTO_BLOCK | SMTO_ABORTIFHUNG, limit, nullptr);
    return taken ? ERROR_SUCCESS : ::GetLastError();
}

bool Send(HWND to, HWND from, std::string_view message, std::uint32_t number) {
    for (const Envelope& envelope : Split(message, number)) {
        if (SendBytes(to, from, envelope.number, envelope.text.c_str(), envelope.text.size() + 1) != ERROR_SUCCESS) {
            return false;
        }
    }
    return true;
}

Window::Window(const wchar_t* name, Receive receive) : receive_(std::move(receive)) {
    WNDCLASSEXW windowClass{};
    windowClass.cbSize = sizeof windowClass;
    windowClass.lpfnWndProc = &Window::Procedure;
    windowClass.hInstance = ::GetModuleHandleW(nullptr);
    windowClass.lpszClassName = name;
    ::RegisterClassExW(&windowClass); // fails for the second window of that name, whose class is there
    window_.Reset(::CreateWindowExW(0, name, name, 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, windowClass.hInstance, this));
    if (!window_) {
        throw std::runtime_error("cannot make the channel window");
    }
}

LRESULT CALLBACK Window::Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) noexcept {
    if (message == WM_NCCREATE) {
        const auto* create = reinterpret_cast<const CREATESTRUCTW*>(lParam);
        ::SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(create->lpCreateParams));
    }
    const auto* self = reinterpret_cast<Window*>(::GetWindowLongPtrW(window, GWLP_USERDATA));
    if (message == WM_COPYDATA && self && lParam) {
        try {
            return self->receive_(reinterpret_cast<HWND>(wParam), *reinterpret_cast<const COPYDATASTRUCT*>(lParam));
        } catch (...) {
            return FALSE;
        }
    }
    return ::DefWindowProcW(window, message, wParam, lParam);
}

WindowThread::WindowThread(const wchar_t* name, Window::Receive receive) {
    std::promise<HWND> made;
    std::future<HWND> window = made.get_future();
    thread_ = std::thread([&made, name, receive = std::move(receive)]() mutable {
        std::optional<Window> own;
        try {
            own.emplace(name, std::move(receive));
        } catch (...) {
            made.set_exception(std::current_exception());
            return;
        }
        made.set_value(own->Get());
        MSG message;
        while (::GetMessageW(&message, nullptr, 0, 0) > 0) {
            if (message.message == kRun && !message.hwnd) {
                const std::unique_ptr<std::function<void()>> action(
                    reinterpret_cast<std::function<void()>*>(message.lParam));
                (*action)();
            }
            ::DispatchMessageW(&message);
        }
    });
    try {
        window_ = window.get();
        threadId_ = ::GetWindowThreadProcessId(window_, nullptr);
    } catch (...) {
        thread_.join();
        throw;
    }
}

WindowThread::~WindowThread() {
    ::PostThreadMessageW(threadId_, WM_QUIT, 0, 0);
    thread_.join();
}

void WindowThread::Post(std::function<void()> action) {
    auto owned = std::make_unique<std::function<void()>>(std::move(action));
    if (::PostThreadMessageW(threadId_, kRun, 0, reinterpret_cast<LPARAM>(owned.get()))) {
        static_cast<void>(owned.release()); // the thread's loop frees it
    }
}

} // namespace wire
