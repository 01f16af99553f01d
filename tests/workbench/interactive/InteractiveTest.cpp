#include "workbench/client/Panel.h"
#include "workbench/demo/Camera.h"
#include "workbench/host/DialogResponder.h"
#include "workbench/interactive/HostControls.h"
#include "workbench/interactive/Play.h"

#include "support/OleTime.h"
#include "support/Text.h"

#include <gmock/gmock.h>

#include <windows.h>
#include <objbase.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <stdexcept>

// A user's way through the interactive demo. The mouse and the keyboard are those of the system: each click goes to
// whatever window is at its place on the screen, in this process or in the client's.
namespace {

using testing::HasSubstr;

constexpr DATE kNow = 46084.375;               // 2026-03-03 09:00 UTC
constexpr DATE kMoved = 46086.0 + 14.0 / 24.0; // 2026-03-05 14:00 UTC
constexpr double kMoment = 1.0 / 86400.0;      // a second, in days
constexpr ULONGLONG kDeadline = 30'000;        // ms; only a failure waits this long

void Key(WORD key, wchar_t character, DWORD flags) {
    INPUT input{};
    input.type = INPUT_KEYBOARD;
    input.ki = {key, static_cast<WORD>(character), flags | (character != 0 ? KEYEVENTF_UNICODE : 0U), 0, 0};
    ASSERT_EQ(::SendInput(1, &input, sizeof input), 1U);
}

class InteractiveDemo : public testing::Test {
protected:
    InteractiveDemo() {
        ::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
        interactive::Options options;
        options.now = kNow;
        session_.emplace(options);
    }
    ~InteractiveDemo() override {
        session_.reset();
        ::CoUninitialize();
    }

    /// Plays Outlook's main loop until that is so. @throws std::runtime_error, which ends the test, when it never is.
    void Await(const char* what, const std::function<bool()>& holds) {
        const ULONGLONG end = ::GetTickCount64() + kDeadline;
        session_->Run([&] { return holds() || ::GetTickCount64() > end; });
        if (!holds()) {
            throw std::runtime_error(std::string("waited in vain: ") + what);
        }
    }
    void AwaitAnswered(std::size_t notifications) {
        Await("the client has a command to answer", [&] { return ::IsWindowEnabled(PanelControl(kAnswer)); });
        Click(PanelControl(kAnswer));
        Await("the client answers", [&] { return session_->Client().Messages("out").size() == notifications; });
    }

    void ClickAt(HWND window, POINT point) {
        ::ClientToScreen(window, &point);
        Await("nothing covers the place", [&] { return ::WindowFromPoint(point) == window; });
        const int x = ::MulDiv(point.x, 65536, ::GetSystemMetrics(SM_CXSCREEN)) + 1;
        const int y = ::MulDiv(point.y, 65536, ::GetSystemMetrics(SM_CYSCREEN)) + 1;
        // The place goes with each event: the pointer of the screen may move meanwhile.
        for (const DWORD event : {0, MOUSEEVENTF_LEFTDOWN, MOUSEEVENTF_LEFTUP}) {
            ::mouse_event(event | MOUSEEVENTF_ABSOLUTE | MOUSEEVENTF_MOVE, static_cast<DWORD>(x), static_cast<DWORD>(y),
                          0, 0);
        }
    }
    void Click(HWND control) {
        RECT place{};
        ::GetClientRect(control, &place);
        ClickAt(control, {place.right / 2, place.bottom / 2});
    }
    void ClickRibbon(const wchar_t* controlId) {
        const workbench::HostWindow* view = Editor()->View();
        const auto button = std::ranges::find(view->Buttons(), controlId, &workbench::RibbonButtonView::id);
        ASSERT_NE(button, view->Buttons().end());
        ClickAt(view->Handle(), {button->place.left + 40, button->place.top + 30});
    }
    static void Press(WORD key, wchar_t character = 0, DWORD flags = 0) {
        Key(key, character, flags);
        Key(key, character, flags | KEYEVENTF_KEYUP);
    }
    /// Replaces the text of a box.
    void Write(int id, const std::wstring& text) {
        const HWND box = EditorControl(id);
        Click(box);
        Await("the box has the focus", [&] { return ::GetFocus() == box; });
        Press(VK_HOME, 0, KEYEVENTF_EXTENDEDKEY);
        Key(VK_SHIFT, 0, 0);
        Press(VK_END, 0, KEYEVENTF_EXTENDEDKEY);
        Key(VK_SHIFT, 0, KEYEVENTF_KEYUP);
        for (const wchar_t character : text) {
            Press(0, character);
        }
    }

    /// Opens a new appointment and writes its subject.
    workbench::ItemPtr WriteNew(const wchar_t* subject) {
        Click(MainControl(interactive::kNew));
        Await("a new appointment is open", [&] { return Editor() != nullptr; });
        const workbench::ItemPtr item = Editor()->CurrentItem();
        Write(interactive::kSubject, subject);
        Await("the subject is written", [&] { return item->Subject() == subject; });
        return item;
    }

    HWND MainControl(int id) { return ::GetDlgItem(session_->Outlook().ActiveExplorer()->Window(), id); }
    workbench::InspectorPtr Editor() { return session_->Outlook().ActiveInspector(); }
    HWND EditorControl(int id) { return ::GetDlgItem(Editor()->Window(), id); }
    static HWND PanelControl(int id) { return ::GetDlgItem(::FindWindowW(meeting_client::kPanelClass, nullptr), id); }
    /// @return the newest command that the client has received, when it has received that many.
    Json::Value ExpectCommand(std::size_t count, int number, const char* subject, DATE start) {
        Await("the client receives a command", [&] { return session_->Client().Messages().size() == count; });
        const Json::Value command = meeting_client::ParseObject(session_->Client().Messages().back()).value();
        EXPECT_EQ(command["cmd"], number);
        EXPECT_EQ(command["subject"], subject);
        EXPECT_EQ(command["startTime"].asInt64(), UnixSecondsFromOleDate(start));
        return command;
    }

    using enum meeting_client::PanelControl;
    std::optional<interactive::Session> session_;
};

TEST_F(InteractiveDemo, UserSchedulesEditsAndSaves) {
    const workbench::ItemPtr item = WriteNew(L"Budget");

    ClickRibbon(L"BookMeetingAppointment");
    ExpectCommand(1, 4, "Budget", kNow);
    AwaitAnswered(1);
    Await("the appointment is the meeting", [&] {
        return item->Displayed() && item->MeetingStatus() == workbench::kMeeting && !item->Location().empty();
    });
    EXPECT_THAT(ToUtf8(item->Comment()), HasSubstr("\"is_new_item\" : true"));

    Write(interactive::kSubject, L"Budget review");
    Write(interactive::kStart, L"2026-03-05 14:00");
    Await("the item has the new subject and time",
          [&] { return item->Subject() == L"Budget review" && std::abs(item->fields.startUtc - kMoved) < kMoment; });
    EXPECT_FALSE(item->Saved());
    Click(EditorControl(interactive::kSave));
    Await("the item is stored", [&] { return item->Saved(); });
    EXPECT_EQ(item->SaveCount(), 1U);
    EXPECT_NEAR(item->fields.endUtc, kMoved + 1.0 / 48.0, kMoment); // the end moved along
    const std::string conference = "700000001";
    EXPECT_THAT(ToUtf8(item->Comment()), HasSubstr("\"" + conference + "\""));

    Click(EditorControl(interactive::kSaveAndClose));
    const Json::Value command = ExpectCommand(2, 6, "Budget review", kMoved);
    EXPECT_EQ(command["confId"], conference);
    EXPECT_EQ(command["confOutlookId"], ToUtf8(item->EntryId()));
    EXPECT_THAT(ToUtf8(item->Comment()), HasSubstr("\"is_new_item\" : false"));
    AwaitAnswered(2);

    ClickAt(MainControl(interactive::kAppointments), {40, 8});
    Click(MainControl(interactive::kOpen));
    Await("the saved appointment is open", [&] { return Editor() != nullptr; });
    const char* pictures = std::getenv("NEMBRA_PICTURES");
    demo::Camera camera(ToWide(pictures ? pictures : ""), L"");
    camera.TakeScreen(L"interactive");
    EXPECT_EQ(camera.Missed(), L"");

    // The client's own actions.
    workbench::DialogResponder updated(IDCANCEL); // the add-in tells of the change
    Click(PanelControl(kLater));
    Await("the appointment follows the client",
          [&] { return updated.Done() && std::abs(item->fields.startUtc - kMoved - 1.0 / 24.0) < kMoment; });
    Click(PanelControl(kCancel));
    Await("the client tells of its cancellation", [&] { return session_->Client().Messages("out").size() == 4; });
    Click(PanelControl(kDisappear));
    Await("the client's window is gone", [&] { return session_->Client().Window() == nullptr; });
    Click(PanelControl(kReturn));
    Await("the client's window is back", [&] { return session_->Client().Window() != nullptr; });
}

TEST_F(InteractiveDemo, KeysPressTheRibbonAndCloseWithoutSaving) {
    const workbench::ItemPtr item = WriteNew(L"Draft");
    Key(VK_MENU, 0, 0);
    Press('1');
    Key(VK_MENU, 0, KEYEVENTF_KEYUP);
    ExpectCommand(1, 4, "Draft", kNow);

    workbench::DialogResponder question(IDNO); // "Do you want to save the changes …?"
    Press(VK_ESCAPE);
    Await("the window is closed", [&] { return question.Done() && Editor() == nullptr; });
    EXPECT_THAT(ToUtf8(question.Last().texts.back()), HasSubstr("Draft - "));
    EXPECT_EQ(item->EntryId(), L"");
}

} // namespace
