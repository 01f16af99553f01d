#include "workbench/check_client/Tap.h"

#include "workbench/wire/Window.h"

#include <atomic>
#include <mutex>
#include <stdexcept>
#include <utility>

namespace check_client {
namespace {

// Window and hook procedures have no other way to their object.
std::mutex g_lock;
std::vector<Arrival> g_arrivals;
std::atomic<WNDPROC> g_addinProcedure = nullptr;
std::atomic<bool> g_held = false;
std::atomic<bool> g_forward = true;

DWORD ProcessOf(HWND window) {
    DWORD process = 0;
    ::GetWindowThreadProcessId(window, &process);
    return process;
}

void Note(HWND sender, const COPYDATASTRUCT& data) {
    const DWORD client = ProcessOf(wire::Find(wire::kClientWindow));
    Arrival arrival{data.dwData, !data.lpData, {}, ProcessOf(sender) == client};
    if (data.lpData) {
        arrival.bytes.assign(static_cast<const char*>(data.lpData), data.cbData);
    }
    const std::lock_guard<std::mutex> hold(g_lock);
    g_arrivals.push_back(std::move(arrival));
}

} // namespace

void Tap::Open(HWND addin) {
    addin_ = addin;
    g_addinProcedure = reinterpret_cast<WNDPROC>(::GetWindowLongPtrW(addin, GWLP_WNDPROC));
    if (!::SetWindowLongPtrW(addin, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&Tap::Procedure))) {
        throw std::runtime_error("cannot listen at the add-in's window");
    }
}

void Tap::Close() noexcept {
    LetWindowReturn();
    if (addin_) {
        // It fails when the window is gone.
        ::SetWindowLongPtrW(std::exchange(addin_, nullptr), GWLP_WNDPROC,
                            reinterpret_cast<LONG_PTR>(g_addinProcedure.load()));
    }
}

std::vector<Arrival> Tap::Take() {
    const std::lock_guard<std::mutex> hold(g_lock);
    return std::exchange(g_arrivals, {});
}

void Tap::Forward(bool forward) noexcept {
    g_forward = forward;
}

void Tap::RemoveWindow() {
    g_held = true;
    hold_ = ::SetWindowsHookExW(WH_CBT, &Tap::HoldCreation, nullptr, ::GetWindowThreadProcessId(addin_, nullptr));
    ::PostMessageW(std::exchange(addin_, nullptr), WM_CLOSE, 0, 0);
}

void Tap::LetWindowReturn() noexcept {
    g_held = false;
    if (hold_) {
        ::UnhookWindowsHookEx(std::exchange(hold_, nullptr));
    }
}

LRESULT CALLBACK Tap::HoldCreation(int code, WPARAM wParam, LPARAM lParam) noexcept {
    while (code == HCBT_CREATEWND && g_held) {
        ::Sleep(5);
    }
    return ::CallNextHookEx(nullptr, code, wParam, lParam);
}

LRESULT CALLBACK Tap::Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) noexcept {
    if (message == WM_COPYDATA && lParam) {
        try {
            Note(reinterpret_cast<HWND>(wParam), *reinterpret_cast<const COPYDATASTRUCT*>(lParam));
        } catch (...) {
            // Only exhausted memory leads here. The checker then misses an answer and says so.
        }
        if (!g_forward) {
            return ::DefWindowProcW(window, message, wParam, lParam);
        }
    }
    return ::CallWindowProcW(g_addinProcedure, window, message, wParam, lParam);
}

} // namespace check_client
