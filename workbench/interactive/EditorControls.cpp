#include "workbench/interactive/EditorControls.h"

#include "workbench/host/WindowPainter.h"
#include "workbench/interactive/Controls.h"

#include <cwchar>
#include <optional>

namespace interactive {
namespace {

constexpr int kFieldLeft = 164; // beside the captions that the window paints
constexpr int kButtonWidth = 96;
constexpr int kMargin = 12;

struct Field {
    int id;
    int line; // of the painted captions: subject, location, start, end
};
constexpr Field kFields[] = {{kSubject, 0}, {kStart, 2}, {kEnd, 3}};
constexpr int kButtons[] = {kSave, kSaveAndClose, kSend, kDeleteItem};

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

} // namespace

EditorControls::EditorControls(workbench::Inspector& inspector) : inspector_(inspector) {
    const HWND window = inspector.Window();
    for (const Field& field : kFields) {
        AddControl(window, L"EDIT", L"", kEditLine, field.id, RECT{});
    }
    AddControl(window, L"BUTTON", L"&Save", kPushButton, kSave, RECT{});
    AddControl(window, L"BUTTON", L"Save && &close", kPushButton, kSaveAndClose, RECT{});
    AddControl(window, L"BUTTON", L"S&end", kPushButton, kSend, RECT{});
    AddControl(window, L"BUTTON", L"&Delete", kPushButton, kDeleteItem, RECT{});
    // Below the list and the buttons of the main window, beside the client's window.
    const int step = static_cast<int>(inspector.Number() % 3) * 20;
    ::SetWindowPos(window, nullptr, 150 + step, 250 + step, 620, 460, SWP_NOZORDER | SWP_NOACTIVATE);
}

void EditorControls::OnSize(const RECT& client) {
    for (const Field& field : kFields) {
        const int top = workbench::kStripHeight + 8 + field.line * workbench::kLineHeight;
        const int right = field.id == kSubject ? client.right - kMargin : kFieldLeft + 160;
        MoveControl(Control(field.id), RECT{kFieldLeft, top, right, top + workbench::kLineHeight - 1});
    }
    int number = 0;
    for (const int id : kButtons) { // two columns at the right of the ribbon
        const int left = client.right - (2 - number % 2) * (kButtonWidth + 6) - kMargin + 6;
        const int top = workbench::kButtonTop + 4 + number / 2 * 34;
        MoveControl(Control(id), RECT{left, top, left + kButtonWidth, top + 28});
        ++number;
    }
}

void EditorControls::OnRepaint() {
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

void EditorControls::TakeOver(WORD control) {
    typing_ = control;
    if (control == kSubject) {
        inspector_.CurrentItem()->fields.subject = TextOf(Control(kSubject));
        inspector_.CurrentItem()->Touch();
    } else {
        TakeOverTime(control);
    }
    typing_ = 0;
}

void EditorControls::TakeOverTime(WORD control) {
    const workbench::ItemPtr item = inspector_.CurrentItem();
    const std::optional<DATE> time = ParseTime(TextOf(Control(control)));
    if (!time || (control == kEnd && *time < item->fields.startUtc)) {
        return; // still being written; the old time comes back when the user leaves the box
    }
    if (control == kStart) { // the end moves along, as in Outlook
        item->fields.endUtc += *time - item->fields.startUtc;
        item->fields.startUtc = *time;
    } else {
        item->fields.endUtc = *time;
    }
    item->Touch();
}

void EditorControls::OnCommand(WORD control, WORD code) {
    const workbench::InspectorPtr self = inspector_.shared_from_this(); // most actions end the window
    const workbench::ItemPtr item = inspector_.CurrentItem();
    switch (control) {
    case kSubject:
    case kStart:
    case kEnd:
        if (code == EN_CHANGE && !showing_) {
            TakeOver(control);
        } else if (code == EN_KILLFOCUS) {
            OnRepaint();
        }
        break;
    case kSave:
        item->Save();
        break;
    case kSaveAndClose:
        inspector_.Close(workbench::kCloseSave);
        break;
    case kSend:
        item->Send();
        break;
    case kDeleteItem:
        item->Delete();
        break;
    case IDCANCEL: // the Esc key
        inspector_.Close(workbench::kClosePrompt);
        break;
    default:
        break;
    }
}

workbench::OlInspectorClose AskClose(workbench::Inspector& inspector) {
    const std::wstring text = L"Do you want to save the changes to \"" + inspector.Caption() + L"\"?";
    switch (::MessageBoxW(inspector.Window(), text.c_str(), L"Outlook", MB_YESNOCANCEL | MB_ICONWARNING)) {
    case IDYES:
        return workbench::kCloseSave;
    case IDNO:
        return workbench::kCloseDiscard;
    default:
        return workbench::kClosePrompt;
    }
}

} // namespace interactive
