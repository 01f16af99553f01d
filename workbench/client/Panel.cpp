#include "workbench/client/Panel.h"

#include "support/Text.h"

#include <iterator>

namespace meeting_client {
namespace {

constexpr wchar_t kClass[] = L"NbmWorkbenchClientPanel";
constexpr wchar_t kTitle[] = L"NEMBRA CLOUD Meeting";
constexpr int kWidth = 440;
constexpr int kHeight = 320;
constexpr int kMargin = 16;
constexpr int kLine = 22;
constexpr std::size_t kCommandsShown = 4;

HGDIOBJ MakeFont(int height, int weight) {
    return ::CreateFontW(-height, 0, 0, 0, weight, FALSE, FALSE, FALSE, DEFAULT_CHARSET, OUT_DEFAULT_PRECIS,
                         CLIP_DEFAULT_PRECIS, CLEARTYPE_QUALITY, DEFAULT_PITCH, L"Segoe UI");
}

std::string Describe(const Json::Value& command) {
    static const char* const kNames[] = {"Open",     "Open",           "Start meeting", "Start audio meeting",
                                         "Schedule", "Cancel meeting", "Modify meeting"};
    const int number = command["cmd"].isInt() ? command["cmd"].asInt() : -1;
    std::string text = number >= 0 && number < static_cast<int>(std::size(kNames)) ? kNames[number] : "Unknown command";
    if (command["subject"].isString() && !command["subject"].asString().empty()) {
        text += "   " + command["subject"].asString();
    }
    return text;
}

} // namespace

Panel::Panel() : font_(MakeFont(15, FW_NORMAL)), heading_(MakeFont(16, FW_SEMIBOLD)) {
    WNDCLASSEXW windowClass{};
    windowClass.cbSize = sizeof windowClass;
    windowClass.lpfnWndProc = &Panel::WindowProc;
    windowClass.hInstance = ::GetModuleHandleW(nullptr);
    windowClass.hCursor = ::LoadCursorW(nullptr, IDC_ARROW);
    windowClass.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_WINDOW + 1);
    windowClass.lpszClassName = kClass;
    ::RegisterClassExW(&windowClass);
    window_.Reset(::CreateWindowExW(WS_EX_TOPMOST, kClass, kTitle, WS_OVERLAPPED | WS_CAPTION | WS_SYSMENU,
                                    CW_USEDEFAULT, CW_USEDEFAULT, kWidth, kHeight, nullptr, nullptr,
                                    windowClass.hInstance, this));
    ::ShowWindow(window_.Get(), SW_SHOWNOACTIVATE);
}

void Panel::SetMeetings(std::vector<std::string> lines) {
    meetings_ = std::move(lines);
    ::InvalidateRect(window_.Get(), nullptr, TRUE);
}

void Panel::AddCommand(const Json::Value& command) {
    commands_.push_front(Describe(command));
    if (commands_.size() > kCommandsShown) {
        commands_.pop_back();
    }
    if (command["centerX"].isInt() && command["centerY"].isInt()) {
        MoveTo(command["centerX"].asInt(), command["centerY"].asInt());
    }
    ::InvalidateRect(window_.Get(), nullptr, TRUE);
}

void Panel::MoveTo(int centerX, int centerY) {
    ::SetWindowPos(window_.Get(), HWND_TOPMOST, centerX - kWidth / 2, centerY - kHeight / 2, 0, 0,
                   SWP_NOSIZE | SWP_NOACTIVATE | SWP_ASYNCWINDOWPOS);
}

void Panel::Paint() {
    PAINTSTRUCT paint;
    const HDC context = ::BeginPaint(window_.Get(), &paint);
    const HGDIOBJ before = ::SelectObject(context, font_.Get());
    ::SetBkMode(context, TRANSPARENT);
    int y = kMargin;
    const auto line = [&](const std::string& text, HGDIOBJ font, COLORREF colour) {
        ::SelectObject(context, font);
        ::SetTextColor(context, colour);
        const std::wstring wide = ToWide(text);
        RECT area{kMargin, y, kWidth - 2 * kMargin, y + kLine};
        ::DrawTextW(context, wide.c_str(), static_cast<int>(wide.size()), &area,
                    DT_SINGLELINE | DT_END_ELLIPSIS | DT_NOPREFIX);
        y += kLine;
    };
    line("Meetings", heading_.Get(), RGB(0, 90, 158));
    if (meetings_.empty()) {
        line("none yet", font_.Get(), RGB(110, 110, 110));
    }
    for (std::size_t i = 0; i < meetings_.size() && i < 4; ++i) {
        line(meetings_[meetings_.size() - 1 - i], font_.Get(), RGB(30, 30, 30));
    }
    y += kLine / 2;
    line("From Outlook", heading_.Get(), RGB(0, 90, 158));
    for (const std::string& command : commands_) {
        line(command, font_.Get(), RGB(30, 30, 30));
    }
    ::SelectObject(context, before);
    ::EndPaint(window_.Get(), &paint);
}

LRESULT CALLBACK Panel::WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) noexcept {
    if (message == WM_NCCREATE) {
        const auto* create = reinterpret_cast<const CREATESTRUCTW*>(lParam);
        ::SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(create->lpCreateParams));
    }
    auto* panel = reinterpret_cast<Panel*>(::GetWindowLongPtrW(window, GWLP_USERDATA));
    if (message == WM_PAINT && panel && panel->window_) {
        try {
            panel->Paint();
            return 0;
        } catch (...) {
            return ::DefWindowProcW(window, message, wParam, lParam);
        }
    }
    if (message == WM_CLOSE) { // the client lives on without being seen
        ::ShowWindow(window, SW_HIDE);
        return 0;
    }
    return ::DefWindowProcW(window, message, wParam, lParam);
}

} // namespace meeting_client
