#pragma once

#include "workbench/client/Transcript.h"

#include <windows.h>

#include <string>
#include <thread>

namespace meeting_client {

inline constexpr wchar_t kControlWindow[] = L"NbmWorkbenchClientControl"; // class and title

/// Answers of the control window.
inline constexpr LRESULT kOrderDone = 1;
inline constexpr LRESULT kOrderRefused = 2;

/// Sent to the main window: lParam points to the order, a std::string. Its answer is the order's answer.
inline constexpr UINT kCarryOut = WM_APP + 1;

/// Takes orders on a thread of its own, so that a client that hangs can still be told to die.
class Control {
public:
    /// @param mainWindow takes `kCarryOut`; it must be destroyed before this object, which releases a waiting order.
    /// @throws std::runtime_error when the control window cannot be made.
    Control(HWND mainWindow, Transcript& transcript);
    ~Control();

    Control(const Control&) = delete;
    Control& operator=(const Control&) = delete;

private:
    static LRESULT CALLBACK WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) noexcept;
    LRESULT TakeOrder(const COPYDATASTRUCT& data);

    HWND mainWindow_;
    Transcript& transcript_;
    HWND window_ = nullptr; // belongs to the thread
    std::thread thread_;
};

/// Ends the process as a crash would: no clean-up, no farewell.
[[noreturn]] void DieNow();

} // namespace meeting_client
