#include "workbench/demo/Camera.h"

#include "workbench/host/Pump.h"

#include "support/Text.h"

#include <cstdio>
#include <filesystem>

namespace demo {
namespace {

// The stand-in client is a console program; the shell gives it a console of its own when it starts it.
constexpr const wchar_t* kConsoleClasses[] = {L"WineConsoleClass", L"ConsoleWindowClass"};
constexpr unsigned kSettle = 600;   // ms until a window is certainly drawn
constexpr unsigned kSlice = 50;     // ms
constexpr unsigned kLimit = 10'000; // ms

void HideConsoles() {
    for (const wchar_t* type : kConsoleClasses) {
        HWND console = nullptr;
        while ((console = ::FindWindowExW(nullptr, console, type, nullptr)) != nullptr) {
            ::ShowWindowAsync(console, SW_HIDE);
        }
    }
}

} // namespace

Camera::Camera(std::wstring folder, std::wstring suffix) : folder_(std::move(folder)), suffix_(std::move(suffix)) {}

void Camera::Arrange(HWND window, SIZE size) const {
    if (On()) {
        ::SetWindowPos(window, nullptr, (::GetSystemMetrics(SM_CXSCREEN) - size.cx) / 2,
                       (::GetSystemMetrics(SM_CYSCREEN) - size.cy) / 2, size.cx, size.cy,
                       SWP_NOZORDER | SWP_NOACTIVATE);
    }
}

void Camera::Take(const std::wstring& name, HWND window) {
    if (!On()) {
        return;
    }
    const HWND dialog = ::GetLastActivePopup(window); // what stands over the window belongs to its picture
    ::SetForegroundWindow(dialog);
    ::RedrawWindow(window, nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW | RDW_ALLCHILDREN);
    RECT place{};
    ::GetWindowRect(window, &place);
    Ask(name, place);
}

void Camera::TakeScreen(const std::wstring& name) {
    if (On()) {
        Ask(name, RECT{0, 0, ::GetSystemMetrics(SM_CXSCREEN), ::GetSystemMetrics(SM_CYSCREEN)});
    }
}

void Camera::Ask(const std::wstring& name, const RECT& place) {
    for (unsigned passed = 0; passed < kSettle; passed += kSlice) {
        HideConsoles();
        workbench::PumpFor(kSlice);
    }
    const std::wstring whole = name + suffix_;
    std::printf("@picture %s %ldx%ld+%ld+%ld\n", ToUtf8(whole).c_str(), place.right - place.left,
                place.bottom - place.top, place.left, place.top);
    std::fflush(stdout);
    const std::filesystem::path file = std::filesystem::path(folder_) / (whole + L".png");
    const auto taken = [&] {
        std::error_code ignored;
        return std::filesystem::is_regular_file(file, ignored);
    };
    if (!workbench::PumpUntil(taken, kLimit) && missed_.empty()) {
        missed_ = whole;
    }
}

} // namespace demo
