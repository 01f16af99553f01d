#include "workbench/interactive/HostControls.h"

#include "workbench/host/WindowPainter.h"
#include "workbench/interactive/Controls.h"

#include <cwchar>
#include <optional>

namespace interactive {
namespace {

constexpr int kFieldLeft = 164; // beside the captions that the window paints
constexpr int kTimeRight = kFieldLeft + 160;
constexpr int kButtonWidth = 96;
constexpr int kMargin = 12;

constexpr ControlRow kControls[] = {
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

class EditorControls : public workbench::WindowControls {
public:
    explicit EditorControls(workbench::Inspector& inspector) : inspector_(inspector) {
        AddControls(inspector.Window(), kControls);
        // Below the list and the buttons of the main window, beside the client's window.
        const int step = static_cast<int>(inspector.Number() % 3) * 20;
        ::SetWindowPos(inspector.Window(), nullptr, 150 + step, 250 + step, 620, 460, SWP_NOZORDER | SWP_NOACTIVATE);
    }

    void OnSize(const RECT& client) override {
        const auto place = [&](int id, int line, long right) { // on a line of the painted captions
            const long top = workbench::kStripHeight + 8 + line * workbench::kLineHeight;
            MoveControl(Control(id), RECT{kFieldLeft, top, right, top + workbench::kLineHeight - 1});
        };
        place(kSubject, 0, client.right - kMargin);
        place(kStart, 2, kTimeRight);
        place(kEnd, 3, kTimeRight);
        for (int i = 0; i <= kDeleteItem - kSave; ++i) { // two columns at the right of the ribbon
            const long left = client.right - (2 - i % 2) * (kButtonWidth + 6) - kMargin + 6;
            const long top = workbench::kButtonTop + 4 + i / 2 * 34;
            MoveControl(Control(kSave + i), RECT{left, top, left + kButtonWidth, top + 28});
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
    HWND Control(int id) const { return ::GetDlgItem(inspector_.Window(), id); }

    void TakeOver(WORD control, workbench::Item& item) {
        const std::wstring text = TextOf(Control(control));
        const std::optional<DATE> time = ParseTime(text);
        if (control == kSubject) {
            item.fields.subject = text;
        } else if (!time || (control == kEnd && *time < item.fields.startUtc)) {
            return;                     // still being written; the old time comes back when the user leaves the box
        } else if (control == kStart) { // the end moves along, as in Outlook
            item.fields.endUtc += *time - item.fields.startUtc;
            item.fields.startUtc = *time;
        } else {
            item.fields.endUtc = *time;
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

std::shared_ptr<workbench::WindowControls> MakeEditorControls(workbench::Inspector& inspector) {
    return std::make_shared<EditorControls>(inspector);
}

workbench::OlInspectorClose AskClose(workbench::Inspector& inspector) {
    const std::wstring text = L"Do you want to save the changes to \"" + inspector.Caption() + L"\"?";
    const int answer = ::MessageBoxW(inspector.Window(), text.c_str(), L"Outlook", MB_YESNOCANCEL | MB_ICONWARNING);
    return answer == IDYES  ? workbench::kCloseSave
           : answer == IDNO ? workbench::kCloseDiscard
                            : workbench::kClosePrompt;
}

} // namespace interactive
