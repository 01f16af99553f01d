#include "workbench/host/WindowPainter.h"

#include "workbench/host/ComHeaders.h"

#include "support/UniqueResource.h"

#include <algorithm>
#include <cwchar>

namespace workbench {
namespace {

constexpr COLORREF kAccent = RGB(16, 110, 190);
constexpr COLORREF kStrip = RGB(243, 242, 241);
constexpr COLORREF kFrame = RGB(200, 198, 196);
constexpr COLORREF kText = RGB(37, 36, 35);
constexpr COLORREF kFaint = RGB(150, 148, 146);
constexpr int kImage = 32;

struct DeviceTraits {
    using Value = HDC;
    static Value Empty() noexcept { return nullptr; }
    static void Close(Value device) noexcept { ::DeleteDC(device); }
};
using UniqueDevice = UniqueResource<DeviceTraits>;

/// Selects an object for as long as it lives.
class Selection {
public:
    Selection(HDC device, HGDIOBJ object) : device_(device), before_(::SelectObject(device, object)) {}
    ~Selection() { ::SelectObject(device_, before_); }
    Selection(const Selection&) = delete;
    Selection& operator=(const Selection&) = delete;

private:
    HDC device_;
    HGDIOBJ before_;
};

UniqueGdiObject MessageFont() {
    NONCLIENTMETRICSW metrics{};
    metrics.cbSize = sizeof metrics;
    ::SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, sizeof metrics, &metrics, 0);
    return UniqueGdiObject(::CreateFontIndirectW(&metrics.lfMessageFont));
}

void Fill(HDC device, const RECT& place, COLORREF colour) {
    const UniqueGdiObject brush(::CreateSolidBrush(colour));
    ::FillRect(device, &place, static_cast<HBRUSH>(brush.Get()));
}

void Write(HDC device, RECT place, const std::wstring& text, COLORREF colour, UINT format) {
    ::SetTextColor(device, colour);
    ::DrawTextW(device, text.c_str(), static_cast<int>(text.size()), &place, format | DT_NOPREFIX);
}

/// Draws the picture's bitmap with its alpha channel, faint when disabled.
void DrawImage(HDC device, int left, int top, const PicturePtr& image, bool enabled) {
    void* object = nullptr;
    if (!image || FAILED(image->QueryInterface(IID_IPicture, &object))) {
        return;
    }
    auto* picture = static_cast<IPicture*>(object);
    OLE_HANDLE handle = 0;
    const HRESULT status = picture->get_Handle(&handle);
    picture->Release();
    // A GDI handle fits into 32 bits; OLE_HANDLE carries its low half.
    const auto bitmap = reinterpret_cast<HBITMAP>(static_cast<ULONG_PTR>(handle));
    BITMAP facts{};
    if (FAILED(status) || ::GetObjectW(bitmap, sizeof facts, &facts) == 0) {
        return;
    }
    const UniqueDevice memory(::CreateCompatibleDC(device));
    const Selection selection(memory.Get(), bitmap);
    BLENDFUNCTION blend{};
    blend.BlendOp = AC_SRC_OVER;
    blend.SourceConstantAlpha = enabled ? 255 : 80;
    blend.AlphaFormat = facts.bmBitsPixel == 32 ? AC_SRC_ALPHA : 0;
    ::AlphaBlend(device, left, top, kImage, kImage, memory.Get(), 0, 0, facts.bmWidth, facts.bmHeight, blend);
}

void DrawButton(HDC device, const RibbonButtonView& button) {
    const RECT& place = button.place;
    const int left = place.left + (kButtonWidth - kImage) / 2;
    DrawImage(device, left, place.top + 4, button.image, button.enabled);
    RECT label = place;
    label.top += kImage + 8;
    Write(device, label, button.label, button.enabled ? kText : kFaint, DT_CENTER | DT_WORDBREAK);
    Write(device, place, button.keyTip, kFaint, DT_RIGHT | DT_SINGLELINE);
}

void DrawStrip(HDC device, const RECT& client, const WindowPicture& picture) {
    RECT strip = client;
    strip.bottom = kStripHeight;
    Fill(device, strip, kStrip);
    RECT tabs = client;
    tabs.bottom = kTabRow;
    Fill(device, tabs, kAccent);
    tabs.left += kGroupLeft;
    // The tab's built-in name without "Tab" is what a user would read.
    const std::wstring name = picture.tab.rfind(L"Tab", 0) == 0 ? picture.tab.substr(3) : picture.tab;
    Write(device, tabs, name, RGB(255, 255, 255), DT_SINGLELINE | DT_VCENTER);
    if (picture.buttons.empty()) {
        return;
    }
    for (const RibbonButtonView& button : picture.buttons) {
        DrawButton(device, button);
    }
    RECT group{};
    group.left = kGroupLeft;
    group.right = std::max<LONG>(picture.buttons.back().place.right, kGroupLeft + 2 * kButtonWidth);
    group.top = kButtonTop + kButtonHeight;
    group.bottom = group.top + kGroupLabel;
    Write(device, group, picture.groupLabel, kFaint, DT_CENTER | DT_SINGLELINE | DT_END_ELLIPSIS);
    RECT separator{group.right + 4, kTabRow + 6, group.right + 5, group.bottom};
    Fill(device, separator, kFrame);
}

} // namespace

std::wstring DateText(DATE date) {
    SYSTEMTIME time{};
    if (!::VariantTimeToSystemTime(date, &time)) {
        return L"?";
    }
    wchar_t text[64];
    std::swprintf(text, 64, L"%04u-%02u-%02u %02u:%02u UTC", static_cast<unsigned>(time.wYear),
                  static_cast<unsigned>(time.wMonth), static_cast<unsigned>(time.wDay),
                  static_cast<unsigned>(time.wHour), static_cast<unsigned>(time.wMinute));
    return text;
}

int BodyTop(const std::vector<WindowLine>& lines) {
    const auto captioned =
        std::count_if(lines.begin(), lines.end(), [](const WindowLine& line) { return !line.caption.empty(); });
    return kStripHeight + 8 + static_cast<int>(captioned) * kLineHeight;
}

void PaintBody(HDC device, const RECT& place, const std::wstring& text) {
    const UniqueGdiObject font = MessageFont();
    const Selection selection(device, font.Get());
    Fill(device, place, RGB(255, 255, 255));
    ::SetBkMode(device, TRANSPARENT);
    RECT inner = place;
    ::InflateRect(&inner, -16, -8);
    Write(device, inner, text, kText, DT_WORDBREAK | DT_EXPANDTABS);
}

void PaintWindow(HDC device, const RECT& client, const WindowPicture& picture) {
    const UniqueGdiObject font = MessageFont();
    const Selection selection(device, font.Get());
    ::SetBkMode(device, TRANSPARENT);
    Fill(device, client, RGB(255, 255, 255));
    DrawStrip(device, client, picture);
    RECT line = client;
    line.top = kStripHeight + 8;
    for (const WindowLine& one : picture.lines) {
        if (one.caption.empty()) {
            continue;
        }
        line.bottom = line.top + kLineHeight;
        RECT caption = line;
        caption.left += 16;
        caption.right = caption.left + 150;
        Write(device, caption, one.caption, kFaint, DT_SINGLELINE | DT_VCENTER);
        RECT text = line;
        text.left += 170;
        Write(device, text, one.text, kText, DT_SINGLELINE | DT_VCENTER | DT_END_ELLIPSIS);
        line.top += kLineHeight;
    }
    for (const WindowLine& one : picture.lines) {
        if (one.caption.empty()) {
            RECT body = client;
            body.top = BodyTop(picture.lines);
            PaintBody(device, body, one.text);
        }
    }
}

} // namespace workbench
