#pragma once

#include "workbench/host/ComHeaders.h"
#include "support/UniqueResource.h"

#include <memory>
#include <string>
#include <vector>

namespace workbench {

struct HostCore;

/// A button as the strip draws it.
struct RibbonButtonView {
    std::wstring id;
    std::wstring label;
    bool enabled = true;
    PicturePtr image;    // may be null
    std::wstring keyTip; // the key that presses it; empty for none
    RECT place{};        // client coordinates, set by the window's layout
};

/// A line of a window's contents: a caption at the left, the text beside it.
struct WindowLine {
    std::wstring caption;
    std::wstring text;
};

/// "2024-03-05 09:00 UTC"; the date is in days since 1899-12-30.
std::wstring DateText(DATE date);

/// The content of a host window and the receiver of its events. Invisible buttons are not listed.
class WindowOwner {
public:
    virtual ~WindowOwner() = default;
    virtual std::wstring Title() const = 0;
    virtual std::vector<WindowLine> Lines() const = 0;
    virtual std::vector<RibbonButtonView> Buttons() = 0;
    virtual std::wstring TabName() const = 0;
    virtual std::wstring GroupLabel() = 0;
    virtual void OnPress(const std::wstring& controlId) = 0;
    virtual void OnCloseBox() = 0;
    virtual void OnActivated() = 0;
    virtual void OnDue() {} // what HostWindow::PostDue asked for
};

/// Child controls that a program adds to a host window. Host thread.
class WindowControls {
public:
    virtual ~WindowControls() = default;
    virtual void OnSize(const RECT& client) = 0;
    /// The owner's contents may have changed.
    virtual void OnRepaint() = 0;
    /// WM_COMMAND of a control. It may close the window.
    virtual void OnCommand(WORD control, WORD code) = 0;
};

/// A real top-level window (class "rctrl_renwnd32", as Outlook's) with a ribbon strip and a few lines of text. Works
/// without a display too. Host thread.
class HostWindow {
public:
    HostWindow(std::shared_ptr<HostCore> core, WindowOwner& owner, const RECT& place, bool editorChain);
    ~HostWindow();
    HostWindow(const HostWindow&) = delete;
    HostWindow& operator=(const HostWindow&) = delete;

    HWND Handle() const { return window_.Get(); }
    HWND BodyWindow() const { return body_; }
    /// In front of all others.
    void Show();
    /// Adds the controls that the window tells of its size, its contents and their commands. Its buttons then have
    /// keys.
    void SetControls(std::shared_ptr<WindowControls> controls);
    /// Title and lines anew; the ribbon stays as it was asked last.
    void Repaint();
    /// As Repaint, and asks the owner anew for its ribbon (with Habits::drawRibbon).
    void Refresh();
    /// Refreshes from the message queue, as the real ribbon does after an invalidation.
    void PostRefresh();
    /// Calls the owner's OnDue from the message queue.
    void PostDue();
    /// The buttons with their places, as drawn last.
    const std::vector<RibbonButtonView>& Buttons() const { return buttons_; }
    /// Clicks the middle of a drawn button with mouse messages. @return false when it is not drawn.
    bool Click(const std::wstring& controlId);

private:
    static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) noexcept;
    static bool RegisterClasses();
    LRESULT Handle(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    void BuildEditorChain();
    void PlaceEditor();
    void LayOut();
    void OnMouseUp(POINT point);

    std::shared_ptr<HostCore> core_;
    WindowOwner& owner_;
    UniqueWindow window_;
    HWND body_ = nullptr;
    std::vector<HWND> chain_; // the editor's windows, outermost first
    std::shared_ptr<WindowControls> controls_;
    std::vector<RibbonButtonView> buttons_;
    std::wstring groupLabel_;
};

} // namespace workbench
