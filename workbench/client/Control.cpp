#include "workbench/client/Control.h"

#include "workbench/client/Options.h"

#include <cstdlib>
#include <future>
#include <stdexcept>

namespace meeting_client {

void DieNow() {
    ::TerminateProcess(::GetCurrentProcess(), kDiedAsOrdered);
    std::abort(); // not reached
}

Control::Control(HWND mainWindow, Transcript& transcript) : mainWindow_(mainWindow), transcript_(transcript) {
    std::promise<HWND> made;
    std::future<HWND> window = made.get_future();
    thread_ = std::thread([this, &made] {
        WNDCLASSEXW windowClass{};
        windowClass.cbSize = sizeof windowClass;
        windowClass.lpfnWndProc = &Control::WindowProc;
        windowClass.hInstance = ::GetModuleHandleW(nullptr);
        windowClass.lpszClassName = kControlWindow;
        ::RegisterClassExW(&windowClass);
        const HWND own = ::CreateWindowExW(0, kControlWindow, kControlWindow, 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                                           windowClass.hInstance, this);
        made.set_value(own);
        MSG message;
        while (own && ::GetMessageW(&message, nullptr, 0, 0) > 0) {
            ::DispatchMessageW(&message);
        }
    });
    window_ = window.get();
    if (!window_) {
        thread_.join();
        throw std::runtime_error("cannot make the control window");
    }
}

Control::~Control() {
    ::PostMessageW(window_, WM_CLOSE, 0, 0);
    thread_.join();
}

LRESULT Control::TakeOrder(const COPYDATASTRUCT& data) {
    if (!data.lpData) {
        return kOrderRefused;
    }
    std::string order(static_cast<const char*>(data.lpData), data.cbData);
    order.resize(order.find('\0') == std::string::npos ? order.size() : order.find('\0'));
    if (order == "die") {
        transcript_.Note("dies");
        DieNow();
    }
    return ::SendMessageW(mainWindow_, kCarryOut, 0, reinterpret_cast<LPARAM>(&order));
}

LRESULT CALLBACK Control::WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) noexcept {
    if (message == WM_NCCREATE) {
        const auto* create = reinterpret_cast<const CREATESTRUCTW*>(lParam);
        ::SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(create->lpCreateParams));
    }
    auto* control = reinterpret_cast<Control*>(::GetWindowLongPtrW(window, GWLP_USERDATA));
    if (message == WM_COPYDATA && control && lParam) {
        try {
            return control->TakeOrder(*reinterpret_cast<const COPYDATASTRUCT*>(lParam));
        } catch (...) {
            return kOrderRefused;
        }
    }
    if (message == WM_DESTROY) {
        ::PostQuitMessage(0);
        return 0;
    }
    return ::DefWindowProcW(window, message, wParam, lParam);
}

} // namespace meeting_client
