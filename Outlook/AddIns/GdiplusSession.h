#pragma once

// gdiplus.h uses the global min and max, which NOMINMAX takes away.
#include <algorithm>
namespace Gdiplus {
using std::max;
using std::min;
} // namespace Gdiplus
#include <objidl.h>
#include <gdiplus.h>

/// Starts GDI+ and keeps the token that stops it. @return 0 when GDI+ does not start.
inline ULONG_PTR StartGdiplus(const Gdiplus::GdiplusStartupInput& input) {
    ULONG_PTR token = 0;
    return Gdiplus::GdiplusStartup(&token, &input, nullptr) == Gdiplus::Ok ? token : 0;
}

/// Stops what `StartGdiplus` started and clears the token. A token of 0 is harmless.
inline void StopGdiplus(ULONG_PTR& token) {
    if (token != 0) {
        Gdiplus::GdiplusShutdown(token);
        token = 0;
    }
}
