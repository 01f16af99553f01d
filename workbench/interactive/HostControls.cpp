#include "workbench/interactive/HostControls.h"

#include "workbench/host/WindowPainter.h"
#include "workbench/interactive/Controls.h"

#include <algorithm>
#include <cwchar>
#include <optional>
#include <vector>

namespace interactive {
namespace {

constexpr int kMargin = 12; // pixels, as all below

/// The controls of one window, which are found by their ids.
class PlacedControls : public workbench::WindowControls {
protected:
    PlacedControls(HWND window, std::span<const ControlRow> rows, const RECT& place) : window_(window) {
        AddControls(window, rows);
        MoveControl(window, place);
    }
    HWND Control(int id) const { return ::GetDlgItem(window_, id); }

    const HWND window_;
};

// --- The main window ---

constexpr int kSide = 120; // width of the column at the left
constexpr int kTop = workbench::kStripHeight + kMargin;
constexpr DWORD kFolder = BS_AUTORADIOBUTTON | BS_PUSHLIKE;

/// A button of the column at the left.
constexpr ControlRow Button(const wchar_t* text, DWORD style, int id, int top) {
    return {L"BUTTON", text, style, id, {kMargin, kTop + top, kSide, kTop + top + 30}};
}

constexpr ControlRow kMainRows[] = {
    Button(L"&Mail", kFolder | WS_GROUP | WS_TABSTOP, kMail, 0),
    Button(L"&Calendar", kFolder, kCalendar, 34),
    Button(L"&New", kPushButton | WS_GROUP, kNew, 80),
    Button(L"&Open", kPushButton, kOpen, 114),
    Button(L"&Delete", kPushButton, kDelete, 148),
    {L"LISTBOX", L"", kList, kAppointments, {}},
};

std::wstring Line(const workbench::Item& item) {
    return workbench::DateText(item.fields.startUtc) + L"     " + item.Subject() + (item.Sent() ? L"  (sent)" : L"");
}

class MainControls : public PlacedControls {
public:
    MainControls(workbench::OutlookHost& outlook, workbench::Explorer& explorer)
        : PlacedControls(explorer.Window(), kMainRows, {16, 16, 796, 436}), outlook_(outlook), explorer_(explorer) {}

    void OnSize(const RECT& client) override {
        MoveControl(Control(kAppointments), {kSide + kMargin, kTop, client.right - kMargin, client.bottom - kMargin});
    }

    void OnRepaint() override {
        const bool calendar = explorer_.Folder() == L"Calendar";
        const workbench::ItemPtr selected = Selected();
        ::CheckRadioButton(window_, kMail, kCalendar, calendar ? kCalendar : kMail);
        const HWND list = Control(kAppointments);
        ::SendMessageW(list, LB_RESETCONTENT, 0, 0);
        listed_.clear();
        if (calendar) {
            for (const workbench::ItemPtr& item : outlook_.Appointments()) {
                if (!item->EntryId().empty()) { // as in Outlook, one that was never saved is only in its window
                    listed_.push_back(item);
                    ::SendMessageW(list, LB_ADDSTRING, 0, reinterpret_cast<LPARAM>(Line(*item).c_str()));
                }
            }
        } else {
            ::SendMessageW(list, LB_ADDSTRING, 0, reinterpret_cast<LPARAM>(L"This stand-in has no messages."));
        }
        const auto found = std::ranges::find(listed_, selected);
        const auto index = found == listed_.end() ? -1 : found - listed_.begin();
        ::SendMessageW(list, LB_SETCURSEL, static_cast<WPARAM>(index), 0);
        for (const int id : {kNew, kOpen, kDelete}) {
            ::EnableWindow(Control(id), calendar);
        }
    }

    void OnCommand(WORD control, WORD code) override {
        const workbench::ExplorerPtr self = explorer_.shared_from_this(); // the add-in may close the window meanwhile
        const workbench::ItemPtr selected = Selected();
        const bool opens =
            control == kOpen || control == IDOK /* the Enter key */ || (control == kAppointments && code == LBN_DBLCLK);
        if (control == kMail || control == kCalendar) {
            explorer_.SwitchFolder(control == kMail ? L"Inbox" : L"Calendar");
        } else if (control == kNew) {
            ::SetFocus(::GetDlgItem(outlook_.OpenInspector(outlook_.NewAppointment())->Window(), kSubject));
        } else if (selected && opens) {
            outlook_.OpenInspector(selected);
        } else if (selected && control == kDelete) {
            selected->Delete();
        }
    }

private:
    workbench::ItemPtr Selected() const {
        const auto index = static_cast<std::size_t>(::SendMessageW(Control(kAppointments), LB_GETCURSEL, 0, 0));
        return index < listed_.size() ? listed_[index] : nullptr; // LB_ERR is larger than every index
    }

    workbench::OutlookHost& outlook_;
    workbench::Explorer& explorer_;
    std::vector<workbench::ItemPtr> listed_;
};

// --- The window of an appointment ---

constexpr int kFieldLeft = 164; // beside the captions that the window paints
constexpr int kTimeRight = kFieldLeft + 160;
constexpr int kButtonWidth = 96;

constexpr ControlRow kEditorRows[] = {
    {L"EDIT", L"", kEditLine, kSubject, {}},
    {L"EDIT", L"", kEditLine, kStart, {}},
    {L"EDIT", L"", kEditLine, kEnd, {}},
    {L"BUTTON", L"&Save", kPushButton, kSave, {}},
    {L"BUTTON", L"Save && &close", kPushButton, kSaveAndClose, {}},
    {L"BUTTON", L"S&end", kPushButton, kSend, {}},
    {L"BUTTON", L"&Delete", kPushButton, kDeleteItem, {}},
};

/// "2024-03-05 09:00", UTC; more text may follow. @return nothing unless it is a time.
std::optional<DATE> ParseTime(const std::wstring& text) {
    SYSTEMTIME time{};
    DATE date = 0;
    const int read = std::swscanf(text.c_str(), L"%4hu-%2hu-%2hu %2hu:%2hu", &time.wYear, &time.wMonth, &time.wDay,
                                  &time.wHour, &time.wMinute);
    FILETIME checked{}; // SystemTimeToVariantTime takes a 31 February for a day in March
    if (read != 5 || !::SystemTimeToFileTime(&time, &checked) || !::SystemTimeToVariantTime(&time, &date)) {
        return std::nullopt;
    }
    return date;
}

class EditorControls : public PlacedControls {
public:
    EditorControls(workbench::Inspector& inspector, long step)
        : PlacedControls(inspector.Window(), kEditorRows, {150 + step, 250 + step, 770 + step, 710 + step}),
          inspector_(inspector) {}

    void OnSize(const RECT& client) override {
        const auto place = [&](int id, int line, long right) { // on a line of the painted captions
            const long top = workbench::kStripHeight + 8 + line * workbench::kLineHeight;
            MoveControl(Control(id), {kFieldLeft, top, right, top + workbench::kLineHeight - 1});
        };
        place(kSubject, 0, client.right - kMargin);
        place(kStart, 2, kTimeRight);
        place(kEnd, 3, kTimeRight);
        for (int i = 0; i <= kDeleteItem - kSave; ++i) { // two columns at the right of the ribbon
            const long left = client.right - (2 - i % 2) * (kButtonWidth + 6) - kMargin + 6;
            const long top = workbench::kButtonTop + 4 + i / 2 * 34;
            MoveControl(Control(kSave + i), {left, top, left + kButtonWidth, top + 28});
        }
    }

    void OnRepaint() override {
        const workbench::ItemFields& fields = inspector_.CurrentItem()->fields;
        showing_ = true;
        const auto show = [&](int id, const std::wstring& text) {
            if (id != typing_ && TextOf(Control(id)) != text) {
                ::SetWindowTextW(Control(id), text.c_str());
            }
        };
        show(kSubject, fields.subject);
        show(kStart, workbench::DateText(fields.startUtc));
        show(kEnd, workbench::DateText(fields.endUtc));
        showing_ = false;
    }

    void OnCommand(WORD control, WORD code) override {
        const workbench::InspectorPtr self = inspector_.shared_from_this(); // most actions end the window
        const workbench::ItemPtr item = inspector_.CurrentItem();
        if (control == kSave) {
            item->Save();
        } else if (control == kSaveAndClose) {
            inspector_.Close(workbench::kCloseSave);
        } else if (control == kSend) {
            item->Send();
        } else if (control == kDeleteItem) {
            item->Delete();
        } else if (control == IDCANCEL) { // the Esc key
            inspector_.Close(workbench::kClosePrompt);
        } else if (code == EN_CHANGE && !showing_) {
            TakeOver(control, *item);
        } else if (code == EN_KILLFOCUS) {
            OnRepaint();
        }
    }

private:
    void TakeOver(WORD control, workbench::Item& item) {
        const std::wstring text = TextOf(Control(control));
        const std::optional<DATE> time = ParseTime(text);
        if (control == kSubject) {
            item.fields.subject = text;
        } else if (!time || (control == kEnd && *time < item.fields.startUtc)) {
            return; // still being written; the old time comes back when the user leaves the box
        } else if (control == kEnd) {
            item.fields.endUtc = *time;
        } else { // the end moves along, as in Outlook
            item.fields.endUtc += *time - item.fields.startUtc;
            item.fields.startUtc = *time;
        }
        typing_ = control;
        item.Touch();
        typing_ = 0;
    }

    workbench::Inspector& inspector_;
    int typing_ = 0;       // the control whose text the user changes now: it is not written
    bool showing_ = false; // true while this class writes the texts itself
};

} // namespace

std::shared_ptr<workbench::WindowControls> MakeMainControls(workbench::OutlookHost& outlook,
                                                            workbench::Explorer& explorer) {
    return std::make_shared<MainControls>(outlook, explorer);
}

std::shared_ptr<workbench::WindowControls> MakeEditorControls(workbench::Inspector& inspector) {
    // Below the list and the buttons of the main window, beside the client's window.
    return std::make_shared<EditorControls>(inspector, static_cast<long>(inspector.Number() % 3) * 20);
}

workbench::OlInspectorClose AskClose(workbench::Inspector& inspector) {
    const std::wstring text = L"Do you want to save the changes to \"" + inspector.Caption() + L"\"?";
    const int answer = ::MessageBoxW(inspector.Window(), text.c_str(), L"Outlook", MB_YESNOCANCEL | MB_ICONWARNING);
    return answer == IDYES  ? workbench::kCloseSave
           : answer == IDNO ? workbench::kCloseDiscard
                            : workbench::kClosePrompt;
}

} // namespace interactive
