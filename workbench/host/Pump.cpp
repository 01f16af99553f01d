#include "workbench/host/Pump.h"

#include <windows.h>

#include <algorithm>

namespace workbench {
namespace {

/// @return false after WM_QUIT, which is put back for whoever runs the outer loop.
bool HandleMessages(const std::function<bool()>& done) {
    MSG message;
    while (::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
        if (message.message == WM_QUIT) {
            ::PostQuitMessage(static_cast<int>(message.wParam));
            return false;
        }
        ::TranslateMessage(&message);
        ::DispatchMessageW(&message);
        if (done()) {
            return true;
        }
    }
    return true;
}

} // namespace

bool PumpUntil(const std::function<bool()>& done, unsigned milliseconds) {
    constexpr ULONGLONG kLongestWait = 10; // what other threads change is seen this soon
    const ULONGLONG end = ::GetTickCount64() + milliseconds;
    while (!done()) {
        if (!HandleMessages(done)) {
            return done();
        }
        if (done()) {
            return true;
        }
        const ULONGLONG now = ::GetTickCount64();
        if (now >= end) {
            return false;
        }
        const DWORD wait = static_cast<DWORD>(std::min(kLongestWait, end - now));
        ::MsgWaitForMultipleObjectsEx(0, nullptr, wait, QS_ALLINPUT, MWMO_INPUTAVAILABLE);
    }
    return true;
}

void PumpFor(unsigned milliseconds) {
    PumpUntil([] { return false; }, milliseconds);
}

} // namespace workbench
