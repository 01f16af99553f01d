#pragma once

// gdiplus.h uses the global min and max, which NOMINMAX removes.
#include <algorithm>
namespace Gdiplus {
using std::max;
using std::min;
} // namespace Gdiplus
#include <objidl.h>
#include <gdiplus.h>

/// Starts GDI+. @return the token that stops it, 0 when GDI+ does not start.
inline ULONG_PTR StartGdiplus(const Gdiplus::GdiplusStartupInput& input) {
    ULONG_PTR token = 0;
    return Gdiplus::GdiplusStartup(&token, &input, nullptr) == Gdiplus::Ok ? token : 0;
}

/// Stops the GDI+ that `StartGdiplus` started and clears the token. Does nothing for 0.
inline void StopGdiplus(ULONG_PTR& token) {
    if (token != 0) {
        Gdiplus::GdiplusShutdown(token);
        token = 0;
    }
}
