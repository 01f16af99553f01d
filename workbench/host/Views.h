#pragma once

#include "workbench/host/Events.h"
#include "workbench/host/HostWindow.h"
#include "workbench/host/Item.h"
#include "workbench/host/Ribbon.h"

#include <memory>
#include <string>

namespace workbench {

/// A main window on a folder: "Inbox" shows the mail tab, "Calendar" the calendar tab. Host thread.
class Explorer : public std::enable_shared_from_this<Explorer>, private WindowOwner {
public:
    Explorer(OutlookHost& host, std::wstring folder, unsigned number);
    ~Explorer() override;

    const std::wstring& Folder() const { return folder_; }
    void SwitchFolder(const std::wstring& folder);
    unsigned Number() const { return number_; }
    HWND Window() const { return window_ ? window_->Handle() : nullptr; }
    HostWindow* View() const { return window_.get(); }
    std::wstring Caption() const { return Title(); }
    bool Open() const { return window_ != nullptr; }
    DispatchPtr Dispatch();
    EventSource& Events() { return *events_; }
    std::shared_ptr<EventSource> SharedEvents() { return events_; }

    void Activate();
    /// Fires Close, then the window goes.
    void Close();

private:
    friend class OutlookHost;
    void OpenWindow();

    std::wstring Title() const override;
    std::vector<WindowLine> Lines() const override;
    std::vector<RibbonButtonView> Buttons() override;
    std::wstring TabName() const override;
    std::wstring GroupLabel() override;
    void OnPress(const std::wstring& controlId) override;
    void OnCloseBox() override { Close(); }
    void OnActivated() override;

    OutlookHost& host_;
    std::wstring folder_;
    unsigned number_;
    std::shared_ptr<EventSource> events_;
    std::unique_ptr<HostWindow> window_;
    bool closing_ = false;
};
using ExplorerPtr = std::shared_ptr<Explorer>;

/// The editor window of one item. Host thread.
class Inspector : public std::enable_shared_from_this<Inspector>, private WindowOwner {
public:
    Inspector(OutlookHost& host, ItemPtr item, unsigned number);
    ~Inspector() override;

    const ItemPtr& CurrentItem() const { return item_; }
    unsigned Number() const { return number_; }
    HWND Window() const { return window_ ? window_->Handle() : nullptr; }
    HostWindow* View() const { return window_.get(); }
    /// The body editor's innermost window (class "_WwG"), null without Habits::editorChain.
    HWND BodyWindow() const { return window_ ? window_->BodyWindow() : nullptr; }
    std::wstring Caption() const { return Title(); }
    bool Displayed() const { return displayed_; }
    bool Closed() const { return closed_; }
    /// True while the Close event is being delivered.
    bool Closing() const { return closing_; }
    DispatchPtr Dispatch();
    EventSource& Events() { return *events_; }
    std::shared_ptr<EventSource> SharedEvents() { return events_; }

    void Display();
    void Activate();
    /// Item Close(Cancel), a save if asked for, then the inspector's Close; then the window goes.
    /// `kClosePrompt` asks OutlookHost::closeAnswer. @return false when it stayed open.
    bool Close(OlInspectorClose mode);
    /// After a send or delete: no Close(Cancel) of the item, no question.
    void CloseWithoutAsking();
    /// Ends an inspector that was never displayed and that nobody holds, without events. @return whether it did. Not
    /// with Habits::distinctPointers, which leaves no way to know who holds it.
    bool EndUnseen();
    /// For Habits::closeInsideRelease: delivers a Close that is due. @return whether one was.
    bool DeliverPendingClose();

private:
    friend class OutlookHost;
    void OpenWindow();
    void Finish();
    Surface RibbonSurface() const;

    std::wstring Title() const override;
    std::vector<WindowLine> Lines() const override;
    std::vector<RibbonButtonView> Buttons() override;
    std::wstring TabName() const override;
    std::wstring GroupLabel() override;
    void OnPress(const std::wstring& controlId) override;
    void OnCloseBox() override;
    void OnActivated() override;
    void OnDue() override;

    OutlookHost& host_;
    ItemPtr item_;
    unsigned number_;
    std::shared_ptr<EventSource> events_;
    std::unique_ptr<HostWindow> window_;
    bool displayed_ = false;
    bool closing_ = false;
    bool closed_ = false;
    bool closePending_ = false;
    bool discardAfterClose_ = false;
};

} // namespace workbench
