#include "Outlook/AddIns/TaskWindow.h"

#include "Outlook/AddIns/ComGuard.h"
#include "Outlook/AddIns/NotifyGate.h"

#include <memory>
#include <utility>

namespace {

constexpr const wchar_t* kSource = L"AddIns/Notify";
constexpr const wchar_t* kWindowClass = L"NBM_OUTLOOK_ADDIN_MSGWND";
constexpr const wchar_t* kOwnerProperty = L"nbm_addin_inst";
constexpr UINT kRunTask = WM_USER + 1; // lParam: a heap-allocated Task that the window frees

using Task = TaskWindow::Task;

/// Frees the tasks that still wait for a window that is being destroyed.
void DropTasks(HWND window) noexcept {
    MSG message = {};
    while (::PeekMessageW(&message, window, kRunTask, kRunTask, PM_REMOVE)) {
        if (message.message == WM_QUIT) { // passes every filter and belongs to the host
            DropTasks(window);
            ::PostQuitMessage(static_cast<int>(message.wParam));
            return;
        }
        delete reinterpret_cast<Task*>(message.lParam);
    }
}

void* CreationParameter(LPARAM creation) noexcept {
    return creation != 0 ? reinterpret_cast<CREATESTRUCTW*>(creation)->lpCreateParams : nullptr;
}

} // namespace

void TaskWindow::Create(IUnknown* owner) {
    if (window_ != nullptr) {
        return;
    }
    WNDCLASSEXW windowClass = {};
    windowClass.cbSize = sizeof(windowClass);
    windowClass.lpfnWndProc = &TaskWindow::Procedure;
    windowClass.hInstance = ::GetModuleHandleW(nullptr);
    windowClass.lpszClassName = kWindowClass;
    ::RegisterClassExW(&windowClass);
    const HWND window =
        ::CreateWindowExW(0, kWindowClass, nullptr, 0, 0, 0, 0, 0, nullptr, nullptr, windowClass.hInstance, owner);
    if (window != nullptr) {
        ::SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
        window_ = window;
    }
}

void TaskWindow::Destroy() {
    const HWND window = window_;
    if (window == nullptr) {
        return;
    }
    ::DestroyWindow(window);
    // Otherwise the class would outlive the module, with a dangling procedure. It stays while another add-in object of
    // this process has a window of this class.
    ::UnregisterClassW(kWindowClass, ::GetModuleHandleW(nullptr));
}

void TaskWindow::Post(Task task) {
    const HWND window = window_;
    auto posted = std::make_unique<Task>(std::move(task));
    // Without a window the message would be posted to the thread itself and be lost.
    if (window != nullptr && ::PostMessageW(window, kRunTask, 0, reinterpret_cast<LPARAM>(posted.get()))) {
        static_cast<void>(posted.release()); // The window procedure frees it.
    }
}

/// Handles the end of the window, which the add-in or another program has closed. The handle is cleared, because
/// Windows may reuse its number for another window.
void TaskWindow::Forget() noexcept {
    const HWND window = window_.exchange(nullptr);
    gate_.Wait(); // A notification that has already read the handle still posts.
    DropTasks(window);
}

LRESULT CALLBACK TaskWindow::Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) noexcept {
    auto* const owner = static_cast<IUnknown*>(::GetPropW(window, kOwnerProperty));
    switch (message) {
    case WM_NCCREATE:
        // Any program can send this message, so only a window without an owner takes one from it.
        if (owner == nullptr && !::SetPropW(window, kOwnerProperty, CreationParameter(lParam))) {
            return FALSE; // Creation fails: a task would run on an add-in that nothing keeps alive.
        }
        break;
    case WM_NCDESTROY:
        // The pointer is null when the creation of the window failed.
        if (auto* const self = reinterpret_cast<TaskWindow*>(::SetWindowLongPtrW(window, GWLP_USERDATA, 0))) {
            self->Forget();
        }
        ::RemovePropW(window, kOwnerProperty);
        break;
    case kRunTask: {
        const std::unique_ptr<Task> task(reinterpret_cast<Task*>(lParam));
        if (task != nullptr && *task && owner != nullptr) {
            const IUnknownPtr alive(owner);
            GuardComCall(kSource, L"AddIn::MessageWindowProc", [&] {
                (*task)();
                return S_OK;
            });
        }
        return 0;
    }
    default:
        break;
    }
    return ::DefWindowProcW(window, message, wParam, lParam);
}
