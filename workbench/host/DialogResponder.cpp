#include "workbench/host/DialogResponder.h"

#include "support/UniqueResource.h"

#include <algorithm>
#include <cwchar>
#include <map>
#include <utility>

namespace workbench {
namespace {

constexpr UINT kLookEvery = 15; // milliseconds
constexpr const wchar_t* kDialogClass = L"#32770";
// A key message's count, and for the release the two bits that say that the key was down and goes up.
constexpr LPARAM kKeyGoesDown = 1;
constexpr LPARAM kKeyGoesUp = 0xC0000001;

// Timer procedures get no pointer. Each thread has its own responders.
thread_local std::map<UINT_PTR, DialogResponder*> t_responders;

std::wstring ClassOf(HWND window) {
    wchar_t name[64] = {};
    ::GetClassNameW(window, name, 64);
    return name;
}

std::wstring TextOf(HWND window) {
    // Bounded: the window's thread may hang.
    wchar_t text[1024] = {};
    DWORD_PTR length = 0;
    ::SendMessageTimeoutW(window, WM_GETTEXT, 1024, reinterpret_cast<LPARAM>(text), SMTO_ABORTIFHUNG, 1000, &length);
    return text;
}

int SmallIconWidth(HWND window) {
    DWORD_PTR icon = 0;
    ICONINFO parts = {};
    if (!::SendMessageTimeoutW(window, WM_GETICON, ICON_SMALL, 0, SMTO_ABORTIFHUNG, 1000, &icon) ||
        !::GetIconInfo(reinterpret_cast<HICON>(icon), &parts)) {
        return 0;
    }
    const UniqueGdiObject colours(parts.hbmColor);
    const UniqueGdiObject mask(parts.hbmMask);
    BITMAP size = {};
    ::GetObjectW(mask.Get(), sizeof(size), &size);
    return size.bmWidth;
}

BOOL CALLBACK AddControl(HWND control, LPARAM parameter) noexcept {
    auto& seen = *reinterpret_cast<DialogSeen*>(parameter);
    try {
        const std::wstring type = ClassOf(control);
        const LONG_PTR style = ::GetWindowLongPtrW(control, GWL_STYLE);
        if (_wcsicmp(type.c_str(), L"Static") == 0) {
            if (std::wstring text = TextOf(control); !text.empty()) {
                seen.texts.push_back(std::move(text));
            }
        } else if (_wcsicmp(type.c_str(), L"Button") == 0) {
            DialogButton button;
            button.id = ::GetDlgCtrlID(control);
            button.text = TextOf(control);
            button.visible = (style & WS_VISIBLE) != 0;
            button.enabled = (style & WS_DISABLED) == 0;
            button.isDefault = (style & BS_TYPEMASK) == BS_DEFPUSHBUTTON;
            seen.buttons.push_back(std::move(button));
        }
    } catch (...) {
        return FALSE;
    }
    return TRUE;
}

struct Search {
    DWORD process;
    std::vector<HWND> found;
};

BOOL CALLBACK AddDialog(HWND window, LPARAM parameter) noexcept {
    auto& search = *reinterpret_cast<Search*>(parameter);
    DWORD process = 0;
    ::GetWindowThreadProcessId(window, &process);
    if (process != search.process || !::IsWindowVisible(window)) {
        return TRUE;
    }
    try {
        if (ClassOf(window) == kDialogClass) {
            search.found.push_back(window);
        }
    } catch (...) {
        return FALSE;
    }
    return TRUE;
}

DialogSeen Read(HWND window) {
    DialogSeen seen;
    seen.window = window;
    seen.owner = ::GetWindow(window, GW_OWNER);
    seen.ownerDisabled = seen.owner && !::IsWindowEnabled(seen.owner);
    seen.caption = TextOf(window);
    seen.smallIconWidth = SmallIconWidth(window);
    ::EnumChildWindows(window, &AddControl, reinterpret_cast<LPARAM>(&seen));
    return seen;
}

} // namespace

std::vector<int> DialogSeen::VisibleButtons() const {
    std::vector<int> ids;
    for (const DialogButton& button : buttons) {
        if (button.visible) {
            ids.push_back(button.id);
        }
    }
    return ids;
}

std::vector<DialogSeen> FindDialogs(const DialogFilter& filter) {
    Search search{filter.process, {}};
    ::EnumWindows(&AddDialog, reinterpret_cast<LPARAM>(&search));
    std::vector<DialogSeen> dialogs;
    for (HWND window : search.found) {
        DialogSeen seen = Read(window);
        const bool matches =
            (filter.caption.empty() || filter.caption == seen.caption) && (!filter.owner || filter.owner == seen.owner);
        if (matches) {
            dialogs.push_back(std::move(seen));
        }
    }
    return dialogs;
}

DialogResponder::DialogResponder(int answer, DialogFilter filter)
    : DialogResponder(std::vector<int>{answer}, std::move(filter)) {}

DialogResponder::DialogResponder(std::vector<int> answers, DialogFilter filter)
    : answers_(answers.begin(), answers.end()), filter_(std::move(filter)) {
    timer_ = ::SetTimer(nullptr, 0, kLookEvery, &DialogResponder::OnTimer);
    t_responders[timer_] = this;
}

DialogResponder::~DialogResponder() {
    ::KillTimer(nullptr, timer_);
    t_responders.erase(timer_);
}

void CALLBACK DialogResponder::OnTimer(HWND, UINT, UINT_PTR timer, DWORD) noexcept {
    const auto found = t_responders.find(timer);
    if (found == t_responders.end() || found->second->looking_) {
        return; // `whileOpen` pumps messages, too
    }
    DialogResponder* self = found->second;
    self->looking_ = true;
    try {
        self->Look();
    } catch (...) {
        // A look that failed for want of memory is repeated at the next tick.
    }
    if (t_responders.count(timer) != 0) {
        self->looking_ = false;
    }
}

void DialogResponder::Look() {
    std::erase_if(handled_, [](HWND window) { return !::IsWindow(window); });
    if (::IsWindow(open_)) {
        PressOrAnswer();
        return;
    }
    if (answers_.empty()) {
        return;
    }
    for (DialogSeen& dialog : FindDialogs(filter_)) {
        if (std::find(handled_.begin(), handled_.end(), dialog.window) != handled_.end()) {
            continue;
        }
        if (waitingFor_ != dialog.window) {
            waitingFor_ = dialog.window;
            firstSeenAt_ = ::GetTickCount64();
        }
        if (::GetTickCount64() - firstSeenAt_ < showMilliseconds) {
            return;
        }
        handled_.push_back(dialog.window);
        waitingFor_ = nullptr;
        seen_.push_back(dialog);
        if (whileOpen) {
            whileOpen(dialog);
        }
        open_ = dialog.window;
        keysLeft_.assign(keys.begin(), keys.end());
        PressOrAnswer();
        return; // one dialog a look: an outer one is answered after the inner one has gone
    }
}

void DialogResponder::PressOrAnswer() {
    if (!keysLeft_.empty()) {
        // One key a look: the next one goes to the control that has the focus after it.
        const WPARAM key = keysLeft_.front();
        keysLeft_.pop_front();
        const HWND focus = ::GetFocus();
        if (focus == open_ || ::IsChild(open_, focus)) {
            ::PostMessageW(focus, WM_KEYDOWN, key, kKeyGoesDown);
            ::PostMessageW(focus, WM_KEYUP, key, kKeyGoesUp);
        }
        return;
    }
    DialogSeen& dialog = seen_.back();
    dialog.answer = answers_.front();
    answers_.pop_front();
    if (observer) {
        observer(
            Step{StepKind::Dialog, L"\"" + dialog.caption + L"\" answered with " + std::to_wstring(dialog.answer)});
    }
    ::PostMessageW(std::exchange(open_, nullptr), WM_COMMAND, MAKEWPARAM(dialog.answer, BN_CLICKED), 0);
}

} // namespace workbench
