#pragma once

#include <windows.h>

#include <cstdint>
#include <string>
#include <vector>

/// Sees what reaches the add-in's window before the add-in does, and can keep the add-in from making a new window. The
/// add-in runs in this process. One window at a time.
namespace check_client::tap {

/// One WM_COPYDATA as it reached the add-in's window.
struct Arrival {
    std::uint64_t number = 0;
    bool null = false;      ///< there were no bytes
    std::string bytes;      ///< all of them, the terminating NUL included
    bool ownWindow = false; ///< wParam was a window of the client's process
};

void Open(HWND addin);
void Close() noexcept;
/// All arrivals since the last call.
std::vector<Arrival> Take();

/// Whether messages go on to the add-in. It takes up to 50 a second and keeps the others.
void Forward(bool forward) noexcept;

/// Destroys the window. Its thread makes no other one until `LetWindowReturn`.
void RemoveWindow();
void LetWindowReturn() noexcept;

} // namespace check_client::tap
