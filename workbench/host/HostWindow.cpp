#include "workbench/host/HostWindow.h"

#include "workbench/host/HostCore.h"
#include "workbench/host/WindowPainter.h"

#include <windowsx.h>

namespace workbench {
namespace {

constexpr const wchar_t* kWindowClass = L"rctrl_renwnd32";
constexpr UINT kRefresh = WM_APP + 1;
constexpr UINT kDue = WM_APP + 2;

// The editor's windows below an inspector, outermost first.
constexpr const wchar_t* kEditorChain[] = {L"AfxWndW", L"AfxWndW", L"#32770", L"AfxWndA", L"_WwB", L"_WwG"};

LRESULT CALLBACK EditorProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) noexcept {
    if (message != WM_PAINT) {
        return ::DefWindowProcW(window, message, wParam, lParam);
    }
    PAINTSTRUCT paint;
    const HDC device = ::BeginPaint(window, &paint);
    try {
        std::wstring text(static_cast<std::size_t>(::GetWindowTextLengthW(window)) + 1, L'\0');
        text.resize(static_cast<std::size_t>(::GetWindowTextW(window, text.data(), static_cast<int>(text.size()))));
        RECT client{};
        ::GetClientRect(window, &client);
        PaintBody(device, client, text);
    } catch (...) {
        // An unpainted body is all that a lack of memory costs here.
    }
    ::EndPaint(window, &paint);
    return 0;
}

void RegisterOne(const wchar_t* name, WNDPROC procedure, bool withIcon = false) {
    WNDCLASSEXW type{};
    type.cbSize = sizeof type;
    type.style = CS_HREDRAW | CS_VREDRAW;
    type.lpfnWndProc = procedure;
    type.hInstance = ::GetModuleHandleW(nullptr);
    type.hCursor = ::LoadCursorW(nullptr, IDC_ARROW);
    type.lpszClassName = name;
    if (withIcon) { // the class keeps them as long as the process lives
        const int small = ::GetSystemMetrics(SM_CXSMICON);
        type.hIcon = ::LoadIconW(nullptr, IDI_APPLICATION);
        type.hIconSm = static_cast<HICON>(::CopyImage(type.hIcon, IMAGE_ICON, small, small, 0));
    }
    ::RegisterClassExW(&type);
}

std::wstring BodyText(const std::vector<WindowLine>& lines) {
    for (const WindowLine& line : lines) {
        if (line.caption.empty()) {
            return line.text;
        }
    }
    return {};
}

} // namespace

bool HostWindow::RegisterClasses() {
    RegisterOne(kWindowClass, &HostWindow::Procedure, true);
    RegisterOne(L"AfxWndW", &::DefWindowProcW);
    RegisterOne(L"AfxWndA", &::DefWindowProcW);
    RegisterOne(L"_WwB", &::DefWindowProcW);
    RegisterOne(L"_WwG", &EditorProcedure);
    return true;
}

HostWindow::HostWindow(std::shared_ptr<HostCore> core, WindowOwner& owner, const RECT& place, bool editorChain)
    : core_(std::move(core)), owner_(owner) {
    static const bool registered = RegisterClasses();
    static_cast<void>(registered);
    window_.Reset(::CreateWindowExW(0, kWindowClass, owner_.Title().c_str(), WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN,
                                    place.left, place.top, place.right - place.left, place.bottom - place.top, nullptr,
                                    nullptr, ::GetModuleHandleW(nullptr), this));
    if (!window_) {
        throw _com_error(HRESULT_FROM_WIN32(::GetLastError()));
    }
    core_->Tell(StepKind::Window, L"\"" + owner_.Title() + L"\" opened");
    if (editorChain) {
        BuildEditorChain();
    }
}

HostWindow::~HostWindow() {
    // Messages of the destruction must not reach a dying owner.
    ::SetWindowLongPtrW(Handle(), GWLP_USERDATA, 0);
    window_.Reset();
}

void HostWindow::BuildEditorChain() {
    HWND parent = Handle();
    for (const wchar_t* type : kEditorChain) {
        parent = ::CreateWindowExW(0, type, L"", WS_CHILD | WS_VISIBLE | WS_CLIPCHILDREN, 0, 0, 10, 10, parent, nullptr,
                                   ::GetModuleHandleW(nullptr), nullptr);
        if (!parent) {
            throw _com_error(HRESULT_FROM_WIN32(::GetLastError()));
        }
        chain_.push_back(parent);
    }
    body_ = parent;
    PlaceEditor();
}

void HostWindow::PlaceEditor() {
    if (chain_.empty()) {
        return;
    }
    RECT client{};
    ::GetClientRect(Handle(), &client);
    int top = BodyTop(owner_.Lines());
    const int height = client.bottom > top ? client.bottom - top : 0;
    for (HWND one : chain_) {
        ::SetWindowPos(one, nullptr, 0, top, client.right, height, SWP_NOZORDER | SWP_NOACTIVATE);
        top = 0; // the inner ones fill their parents
    }
}

void HostWindow::Show() {
    ::ShowWindow(Handle(), SW_SHOW);
    ::SetForegroundWindow(Handle());
    ::UpdateWindow(Handle());
}

void HostWindow::SetControls(std::shared_ptr<WindowControls> controls) {
    controls_ = std::move(controls);
    RECT client{};
    ::GetClientRect(Handle(), &client);
    controls_->OnSize(client);
}

void HostWindow::Repaint() {
    ::SetWindowTextW(Handle(), owner_.Title().c_str());
    if (body_) {
        ::SetWindowTextW(body_, BodyText(owner_.Lines()).c_str());
        ::InvalidateRect(body_, nullptr, FALSE);
    }
    ::InvalidateRect(Handle(), nullptr, FALSE);
    if (controls_) {
        controls_->OnRepaint();
    }
}

void HostWindow::Refresh() {
    if (core_->habits.drawRibbon) {
        // The callbacks run foreign code; the list is exchanged only when it is complete.
        std::vector<RibbonButtonView> buttons = owner_.Buttons();
        groupLabel_ = owner_.GroupLabel();
        buttons_.swap(buttons);
        LayOut();
    }
    Repaint();
}

void HostWindow::PostRefresh() {
    ::PostMessageW(Handle(), kRefresh, 0, 0);
}

void HostWindow::PostDue() {
    ::PostMessageW(Handle(), kDue, 0, 0);
}

void HostWindow::LayOut() {
    int left = kGroupLeft;
    unsigned number = 1;
    for (RibbonButtonView& button : buttons_) {
        button.keyTip = controls_ ? L"Alt+" + std::to_wstring(number++) : std::wstring();
        button.place = RECT{left, kButtonTop, left + kButtonWidth, kButtonTop + kButtonHeight};
        left += kButtonWidth;
    }
}

bool HostWindow::Click(const std::wstring& controlId) {
    for (const RibbonButtonView& button : buttons_) {
        if (button.id == controlId) {
            const LPARAM point =
                MAKELPARAM((button.place.left + button.place.right) / 2, (button.place.top + button.place.bottom) / 2);
            ::SendMessageW(Handle(), WM_LBUTTONDOWN, MK_LBUTTON, point);
            ::SendMessageW(Handle(), WM_LBUTTONUP, 0, point);
            return true;
        }
    }
    return false;
}

void HostWindow::OnMouseUp(POINT point) {
    for (const RibbonButtonView& button : buttons_) {
        if (::PtInRect(&button.place, point) && button.enabled) {
            const std::wstring id = button.id; // the press may refresh or close the window
            owner_.OnPress(id);
            return;
        }
    }
}

LRESULT CALLBACK HostWindow::Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) noexcept {
    if (message == WM_NCCREATE) {
        const auto* create = reinterpret_cast<const CREATESTRUCTW*>(lParam);
        ::SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(create->lpCreateParams));
    }
    auto* self = reinterpret_cast<HostWindow*>(::GetWindowLongPtrW(window, GWLP_USERDATA));
    if (self) {
        try {
            return self->Handle(window, message, wParam, lParam);
        } catch (...) {
            // Nothing may leave a window procedure; the default handling is what is left.
        }
    }
    return ::DefWindowProcW(window, message, wParam, lParam);
}

LRESULT HostWindow::Handle(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
    case WM_PAINT: {
        PAINTSTRUCT paint;
        const HDC device = ::BeginPaint(window, &paint);
        RECT client{};
        ::GetClientRect(window, &client);
        const std::vector<WindowLine> lines = owner_.Lines();
        PaintWindow(device, client, WindowPicture{owner_.TabName(), groupLabel_, buttons_, lines});
        ::EndPaint(window, &paint);
        return 0;
    }
    case WM_ERASEBKGND:
        return 1; // everything is painted
    case WM_SIZE:
        PlaceEditor();
        if (controls_) {
            controls_->OnSize(RECT{0, 0, LOWORD(lParam), HIWORD(lParam)});
        }
        return 0;
    case WM_COMMAND:
        if (const std::shared_ptr<WindowControls> controls = controls_) { // the command may close the window
            controls->OnCommand(LOWORD(wParam), HIWORD(wParam));
        }
        return 0; // this object may be gone
    case WM_LBUTTONUP:
        OnMouseUp(POINT{GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)});
        return 0; // this object may be gone
    case WM_ACTIVATE:
        if (LOWORD(wParam) != WA_INACTIVE) {
            owner_.OnActivated();
        }
        break;
    case WM_CLOSE:
        owner_.OnCloseBox();
        return 0; // this object may be gone
    case kRefresh:
        Refresh();
        return 0;
    case kDue:
        owner_.OnDue();
        return 0; // this object may be gone
    default:
        break;
    }
    return ::DefWindowProcW(window, message, wParam, lParam);
}

} // namespace workbench
