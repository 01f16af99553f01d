#pragma once

#include "workbench/host/HostWindow.h"

#include <windows.h>

#include <string>
#include <vector>

/// Drawing and measures of a host window, in pixels.
namespace workbench {

inline constexpr int kTabRow = 28;
inline constexpr int kButtonTop = 34;
inline constexpr int kButtonWidth = 92;
inline constexpr int kButtonHeight = 68;
inline constexpr int kGroupLeft = 12;
inline constexpr int kGroupLabel = 18;
inline constexpr int kStripHeight = kButtonTop + kButtonHeight + kGroupLabel + 6;
inline constexpr int kLineHeight = 24;

struct WindowPicture {
    std::wstring tab;
    std::wstring groupLabel;
    const std::vector<RibbonButtonView>& buttons;
    const std::vector<WindowLine>& lines;
};

/// Height of the strip and the captioned lines: where the body begins.
int BodyTop(const std::vector<WindowLine>& lines);

/// Paints the whole client area. The line without caption is the body, drawn below the others.
void PaintWindow(HDC device, const RECT& client, const WindowPicture& picture);

/// Paints `text` wrapped into `place` on white.
void PaintBody(HDC device, const RECT& place, const std::wstring& text);

} // namespace workbench
