#include "support/UniqueResource.h"
#include "tests/resources/ModuleResources.h"

#include <gmock/gmock.h>
#include <windows.h>

#include <string>
#include <utility>
#include <vector>

namespace {

struct DialogCase {
    WORD id;
    const wchar_t* caption;
    const wchar_t* text;
    std::vector<std::pair<int, std::wstring>> buttons; // Id and label, in tab order.
    bool buttonsShown;
};

const std::vector<DialogCase>& Dialogs() {
    static const wchar_t* const zh = L"Nembra云会议";
    static const wchar_t* const en = L"NEMBRA CLOUD Meeting";
    static const std::vector<DialogCase> dialogs = {
        {501, zh, L"正在启动Nembra云会议，请登录客户端。", {{1, L"确定"}, {2, L"取消"}}, false},
        {503, en, L"Starting Nembra Cloud Meeting... Log in to the client.", {{1, L"OK"}, {2, L"Cancel"}}, false},
        {505, zh, L"正在预约会议…", {{1, L"确定"}, {2, L"取消"}}, false},
        {507, en, L"Scheduling the meeting...", {{1, L"OK"}, {2, L"Cancel"}}, false},
        {509,
         zh,
         L"Outlook会议日程已更新，同步更新将启动Nembra云会议客户端。     ",
         {{4, L"立即同步"}, {5, L"稍后"}},
         true},
        {511,
         en,
         L"Outlook meeting schedule updated. Synchronizing the update will start the Nembra Cloud Meeting client.     ",
         {{4, L"Sync now"}, {5, L"Later"}},
         true},
        {513, zh, L"邮件邀请已更新。", {{1, L"确定"}, {2, L"取消"}}, false},
        {515, en, L"Email invitation updated.", {{1, L"OK"}, {2, L"Cancel"}}, false},
    };
    return dialogs;
}

INT_PTR CALLBACK AnswerNothing(HWND, UINT, WPARAM, LPARAM) {
    return FALSE;
}

UniqueWindow CreateTheDialog(WORD id) {
    return UniqueWindow(
        ::CreateDialogParamW(::GetModuleHandleW(nullptr), MAKEINTRESOURCEW(id), nullptr, &AnswerNothing, 0));
}

std::wstring TextOf(HWND window) {
    std::wstring text(static_cast<size_t>(::GetWindowTextLengthW(window)), L'\0');
    ::GetWindowTextW(window, text.data(), static_cast<int>(text.size()) + 1);
    return text;
}

std::wstring ClassOf(HWND window) {
    wchar_t name[32] = {};
    ::GetClassNameW(window, name, 32);
    return name;
}

/// Whether the label's text, broken into lines as the label breaks it, stays within the label.
bool TextFits(HWND label) {
    RECT place = {};
    ::GetClientRect(label, &place);
    const HDC screen = ::GetDC(label);
    const HGDIOBJ old = ::SelectObject(screen, reinterpret_cast<HFONT>(::SendMessageW(label, WM_GETFONT, 0, 0)));
    RECT needed = {0, 0, place.right, 0};
    ::DrawTextW(screen, TextOf(label).c_str(), -1, &needed, DT_CALCRECT | DT_WORDBREAK | DT_EXPANDTABS);
    ::SelectObject(screen, old);
    ::ReleaseDC(label, screen);
    return needed.right <= place.right && needed.bottom <= place.bottom;
}

TEST(Dialogs, CarryTheirTextsAndButtonsInAFixedFrame) {
    for (const DialogCase& entry : Dialogs()) {
        SCOPED_TRACE(entry.id);
        const UniqueWindow dialog = CreateTheDialog(entry.id);
        ASSERT_TRUE(dialog);
        EXPECT_EQ(TextOf(dialog.Get()), entry.caption);

        std::vector<std::wstring> labels;
        std::vector<std::pair<int, std::wstring>> buttons;
        for (HWND child = ::GetWindow(dialog.Get(), GW_CHILD); child; child = ::GetWindow(child, GW_HWNDNEXT)) {
            const bool shown = (::GetWindowLongW(child, GWL_STYLE) & WS_VISIBLE) != 0;
            if (ClassOf(child) == L"Static") {
                labels.push_back(TextOf(child));
                EXPECT_TRUE(shown);
                EXPECT_TRUE(TextFits(child));
                continue;
            }
            buttons.emplace_back(::GetDlgCtrlID(child), TextOf(child));
            EXPECT_EQ(shown, entry.buttonsShown);
        }
        EXPECT_THAT(labels, testing::ElementsAre(entry.text));
        EXPECT_EQ(buttons, entry.buttons);

        const LRESULT standard = ::SendMessageW(dialog.Get(), DM_GETDEFID, 0, 0);
        EXPECT_EQ(HIWORD(standard), DC_HASDEFID);
        EXPECT_EQ(LOWORD(standard), entry.buttons.front().first);
        const LONG style = ::GetWindowLongW(dialog.Get(), GWL_STYLE);
        constexpr LONG kWanted = DS_MODALFRAME | DS_CENTER | WS_POPUP | WS_CAPTION | WS_SYSMENU;
        EXPECT_EQ(style & kWanted, kWanted);
        EXPECT_EQ(style & (WS_THICKFRAME | WS_MINIMIZEBOX | WS_MAXIMIZEBOX | WS_CHILD), 0);
    }
}

} // namespace
