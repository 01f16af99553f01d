#include "workbench/interactive/MainControls.h"

#include "workbench/host/WindowPainter.h"
#include "workbench/interactive/Controls.h"
#include "workbench/interactive/EditorControls.h"

#include <algorithm>

namespace interactive {
namespace {

constexpr int kMargin = 12; // pixels
constexpr int kSide = 120;  // width of the column at the left
constexpr int kButton = 30; // height

std::wstring Line(const workbench::Item& item) {
    return workbench::DateText(item.fields.startUtc) + L"     " + item.Subject() + (item.Sent() ? L"  (sent)" : L"");
}

} // namespace

MainControls::MainControls(workbench::OutlookHost& outlook, workbench::Explorer& explorer)
    : outlook_(outlook), explorer_(explorer) {
    const HWND window = explorer.Window();
    int top = workbench::kStripHeight + kMargin;
    const auto add = [&](const wchar_t* text, DWORD style, int id) {
        AddControl(window, L"BUTTON", text, style, id, RECT{kMargin, top, kSide, top + kButton});
        top += kButton + 4;
    };
    constexpr DWORD kFolder = BS_AUTORADIOBUTTON | BS_PUSHLIKE;
    add(L"&Mail", kFolder | WS_GROUP | WS_TABSTOP, kMail);
    add(L"&Calendar", kFolder, kCalendar);
    top += kMargin;
    add(L"&New", kPushButton | WS_GROUP, kNew);
    add(L"&Open", kPushButton, kOpen);
    add(L"&Delete", kPushButton, kDelete);
    AddControl(window, L"LISTBOX", L"", kList, kAppointments, RECT{});
    ::SetWindowPos(window, nullptr, 16, 16, 780, 420, SWP_NOZORDER | SWP_NOACTIVATE);
}

void MainControls::OnSize(const RECT& client) {
    MoveControl(Control(kAppointments), RECT{kSide + kMargin, workbench::kStripHeight + kMargin, client.right - kMargin,
                                             client.bottom - kMargin});
}

void MainControls::OnRepaint() {
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
    const auto found = std::find(listed_.begin(), listed_.end(), selected);
    ::SendMessageW(list, LB_SETCURSEL, static_cast<WPARAM>(found == listed_.end() ? -1 : found - listed_.begin()), 0);
    for (const int id : {kNew, kOpen, kDelete}) {
        ::EnableWindow(Control(id), calendar);
    }
}

workbench::ItemPtr MainControls::Selected() const {
    const LRESULT index = ::SendMessageW(Control(kAppointments), LB_GETCURSEL, 0, 0);
    return index >= 0 && static_cast<std::size_t>(index) < listed_.size() ? listed_[static_cast<std::size_t>(index)]
                                                                          : nullptr;
}

void MainControls::OnCommand(WORD control, WORD code) {
    const workbench::ExplorerPtr self = explorer_.shared_from_this(); // the add-in may close the window meanwhile
    const workbench::ItemPtr selected = Selected();
    switch (control) {
    case kMail:
    case kCalendar:
        explorer_.SwitchFolder(control == kMail ? L"Inbox" : L"Calendar");
        break;
    case kNew:
        ::SetFocus(::GetDlgItem(outlook_.OpenInspector(outlook_.NewAppointment())->Window(), kSubject));
        break;
    case kAppointments:
        if (code != LBN_DBLCLK) {
            break;
        }
        [[fallthrough]];
    case kOpen:
    case IDOK: // the Enter key
        if (selected) {
            outlook_.OpenInspector(selected);
        }
        break;
    case kDelete:
        if (selected) {
            selected->Delete();
        }
        break;
    default:
        break;
    }
}

} // namespace interactive
