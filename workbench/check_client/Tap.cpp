#include "workbench/check_client/Tap.h"

#include "workbench/wire/Window.h"

#include <atomic>
#include <mutex>
#include <stdexcept>
#include <utility>

namespace check_client::tap {
namespace {

// The procedures run on the thread of the add-in's window.
std::mutex g_lock;
std::vector<Arrival> g_arrivals;
std::atomic<WNDPROC> g_addinProcedure = nullptr;
std::atomic<bool> g_held = false;
std::atomic<bool> g_forward = true;
HWND g_addin = nullptr;
HHOOK g_hold = nullptr;

void Note(HWND sender, const COPYDATASTRUCT& data) {
    const DWORD client = wire::ProcessOf(wire::Find(wire::kClientWindow));
    Arrival arrival{data.dwData, !data.lpData, {}, wire::ProcessOf(sender) == client};
    if (data.lpData) {
        arrival.bytes.assign(static_cast<const char*>(data.lpData), data.cbData);
    }
    const std::lock_guard<std::mutex> hold(g_lock);
    g_arrivals.push_back(std::move(arrival));
}

LRESULT CALLBACK HoldCreation(int code, WPARAM wParam, LPARAM lParam) noexcept {
    while (code == HCBT_CREATEWND && g_held) {
        ::Sleep(5);
    }
    return ::CallNextHookEx(nullptr, code, wParam, lParam);
}

LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) noexcept {
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

} // namespace

void Open(HWND addin) {
    g_addin = addin;
    g_addinProcedure = reinterpret_cast<WNDPROC>(::GetWindowLongPtrW(addin, GWLP_WNDPROC));
    if (!::SetWindowLongPtrW(addin, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&Procedure))) {
        throw std::runtime_error("cannot listen at the add-in's window");
    }
}

void Close() noexcept {
    LetWindowReturn();
    if (g_addin) {
        // It fails when the window is gone.
        ::SetWindowLongPtrW(std::exchange(g_addin, nullptr), GWLP_WNDPROC,
                            reinterpret_cast<LONG_PTR>(g_addinProcedure.load()));
    }
}

std::vector<Arrival> Take() {
    const std::lock_guard<std::mutex> hold(g_lock);
    return std::exchange(g_arrivals, {});
}

void Forward(bool forward) noexcept {
    g_forward = forward;
}

void RemoveWindow() {
    g_held = true;
    g_hold = ::SetWindowsHookExW(WH_CBT, &HoldCreation, nullptr, ::GetWindowThreadProcessId(g_addin, nullptr));
    ::PostMessageW(std::exchange(g_addin, nullptr), WM_CLOSE, 0, 0);
}

void LetWindowReturn() noexcept {
    g_held = false;
    if (g_hold) {
        ::UnhookWindowsHookEx(std::exchange(g_hold, nullptr));
    }
}

} // namespace check_client::tap
