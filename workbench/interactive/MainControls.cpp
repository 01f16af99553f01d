#include "workbench/interactive/HostControls.h"

#include "workbench/host/WindowPainter.h"
#include "workbench/interactive/Controls.h"

#include <algorithm>
#include <vector>

namespace interactive {
namespace {

constexpr int kMargin = 12; // pixels
constexpr int kSide = 120;  // width of the column at the left
constexpr int kTop = workbench::kStripHeight + kMargin;
constexpr DWORD kFolder = BS_AUTORADIOBUTTON | BS_PUSHLIKE;

/// A button of the column at the left.
constexpr ControlRow Button(const wchar_t* text, DWORD style, int id, int top) {
    return {L"BUTTON", text, style, id, {kMargin, kTop + top, kSide, kTop + top + 30}};
}

constexpr ControlRow kControls[] = {
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

class MainControls : public workbench::WindowControls {
public:
    MainControls(workbench::OutlookHost& outlook, workbench::Explorer& explorer)
        : outlook_(outlook), explorer_(explorer) {
        AddControls(explorer.Window(), kControls);
        ::SetWindowPos(explorer.Window(), nullptr, 16, 16, 780, 420, SWP_NOZORDER | SWP_NOACTIVATE);
    }

    void OnSize(const RECT& client) override {
        MoveControl(Control(kAppointments),
                    RECT{kSide + kMargin, kTop, client.right - kMargin, client.bottom - kMargin});
    }

    void OnRepaint() override {
        const bool calendar = explorer_.Folder() == L"Calendar";
        const workbench::ItemPtr selected = Selected();
        ::CheckRadioButton(explorer_.Window(), kMail, kCalendar, calendar ? kCalendar : kMail);
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
    HWND Control(int id) const { return ::GetDlgItem(explorer_.Window(), id); }

    workbench::ItemPtr Selected() const {
        const auto index = static_cast<std::size_t>(::SendMessageW(Control(kAppointments), LB_GETCURSEL, 0, 0));
        return index < listed_.size() ? listed_[index] : nullptr; // LB_ERR is larger than every index
    }

    workbench::OutlookHost& outlook_;
    workbench::Explorer& explorer_;
    std::vector<workbench::ItemPtr> listed_;
};

} // namespace

std::shared_ptr<workbench::WindowControls> MakeMainControls(workbench::OutlookHost& outlook,
                                                            workbench::Explorer& explorer) {
    return std::make_shared<MainControls>(outlook, explorer);
}

} // namespace interactive
