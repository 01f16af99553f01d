#pragma once

#include <windows.h>

/// How a test or a demo gives orders to the client: by WM_COPYDATA with the order's text to this window.
namespace meeting_client {

inline constexpr wchar_t kControlWindow[] = L"NbmWorkbenchClientControl"; // class and title

/// Its answers.
inline constexpr LRESULT kOrderDone = 1;
inline constexpr LRESULT kOrderRefused = 2;

} // namespace meeting_client
