#pragma once

#include "workbench/host/Observer.h"

#include <windows.h>

#include <deque>
#include <functional>
#include <string>
#include <vector>

namespace workbench {

struct DialogButton {
    int id = 0;
    std::wstring text;
    bool visible = false;
    bool enabled = false;
    bool isDefault = false;
};

/// A dialog (class #32770) as it was found.
struct DialogSeen {
    HWND window = nullptr;
    HWND owner = nullptr;
    bool ownerDisabled = false; // true for a modal dialog
    std::wstring caption;
    std::vector<std::wstring> texts; // of its static controls, top to bottom in the template's order
    std::vector<DialogButton> buttons;
    int smallIconWidth = 0; // pixels; 0 without one
    int answer = 0;         // the command it was answered with; 0 when a key closed it

    std::vector<int> VisibleButtons() const; // their ids
};

/// Which dialogs count; empty members match all.
struct DialogFilter {
    std::wstring caption;
    HWND owner = nullptr;
    DWORD process = ::GetCurrentProcessId(); // the one member that always counts
};

/// The visible top-level dialogs of that process.
std::vector<DialogSeen> FindDialogs(const DialogFilter& filter = {});

/// Answers the coming dialogs of this process, one answer each, by posting WM_COMMAND to them; records what it saw. It
/// looks from a timer of the thread that made it, so it also works inside the dialog's own modal loop. While it lives
/// it waits for further dialogs; without an answer left it leaves them alone.
class DialogResponder {
public:
    explicit DialogResponder(int answer, DialogFilter filter = {});
    explicit DialogResponder(std::vector<int> answers, DialogFilter filter = {});
    ~DialogResponder();
    DialogResponder(const DialogResponder&) = delete;
    DialogResponder& operator=(const DialogResponder&) = delete;

    /// Called while the dialog is open, just before it is answered; may call into the add-in or the host.
    std::function<void(const DialogSeen&)> whileOpen;
    /// Virtual-key codes, pressed one after the other in each dialog before it is answered. A dialog that a key closes
    /// leaves its answer to the next one.
    std::vector<WPARAM> keys;
    /// How long a dialog stays open before it is answered, for a human to see it.
    unsigned showMilliseconds = 0;
    /// Told of every dialog answered.
    Observer observer;

    const std::vector<DialogSeen>& Seen() const { return seen_; }
    /// The only dialog seen so far, or an empty record when there were none.
    DialogSeen Last() const { return seen_.empty() ? DialogSeen{} : seen_.back(); }
    bool Done() const { return answers_.empty(); }

private:
    static void CALLBACK OnTimer(HWND, UINT, UINT_PTR timer, DWORD) noexcept;
    void Look();
    void PressOrAnswer();

    std::deque<int> answers_;
    DialogFilter filter_;
    std::vector<DialogSeen> seen_;
    std::vector<HWND> handled_;
    HWND waitingFor_ = nullptr;
    HWND open_ = nullptr; // gets the keys that are left; the last one of seen_
    std::deque<WPARAM> keysLeft_;
    ULONGLONG firstSeenAt_ = 0;
    bool looking_ = false;
    UINT_PTR timer_ = 0;
};

} // namespace workbench
