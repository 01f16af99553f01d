#include "workbench/client/Panel.h"

#include "workbench/client/UtcTime.h"
#include "workbench/interactive/Controls.h"

#include "support/Text.h"

#include <json/writer.h>

#include <iterator>

namespace meeting_client {
namespace {

using namespace interactive;

constexpr int kLeft = 812; // beside the windows of the stand-in Outlook
constexpr int kTop = 20;
constexpr int kWidth = 456; // of the contents
constexpr int kHeight = 640;
constexpr int kMargin = 12;
constexpr int kRight = kWidth - kMargin;
constexpr std::int64_t kHour = 3600; // s

std::string Describe(const Json::Value& message) {
    static const char* const kCommands[] = {"Open",     "Open",           "Start meeting", "Start audio meeting",
                                            "Schedule", "Cancel meeting", "Modify meeting"};
    std::string text;
    if (!message["cmd"].isInt()) {
        text = "Sent: notification " + std::to_string(message["notify"].isInt() ? message["notify"].asInt() : -1);
    } else {
        const int number = message["cmd"].asInt();
        text = number >= 0 && number < static_cast<int>(std::size(kCommands)) ? kCommands[number] : "Unknown command";
        text = "Received: " + text + " (" + std::to_string(number) + ")";
    }
    if (message["subject"].isString() && !message["subject"].asString().empty()) {
        text += ", \"" + message["subject"].asString() + "\"";
    }
    return text;
}

/// One member a line, as an edit box shows it.
std::wstring DetailsOf(const Json::Value& message) {
    std::string text;
    for (const std::string& key : message.getMemberNames()) {
        text += key + ": " + Compact(message[key]) + "\r\n";
    }
    return ToWide(text);
}

} // namespace

Panel::Panel(MeetingBook& meetings, Execute execute) : meetings_(meetings), execute_(std::move(execute)) {
    WNDCLASSEXW windowClass{};
    windowClass.cbSize = sizeof windowClass;
    windowClass.lpfnWndProc = &Panel::WindowProc;
    windowClass.hInstance = ::GetModuleHandleW(nullptr);
    windowClass.hCursor = ::LoadCursorW(nullptr, IDC_ARROW);
    windowClass.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_BTNFACE + 1);
    windowClass.lpszClassName = kPanelClass;
    ::RegisterClassExW(&windowClass);
    constexpr DWORD kStyle = WS_OVERLAPPED | WS_CAPTION | WS_SYSMENU | WS_MINIMIZEBOX | WS_CLIPCHILDREN;
    RECT place{0, 0, kWidth, kHeight};
    ::AdjustWindowRectEx(&place, kStyle, FALSE, WS_EX_DLGMODALFRAME);
    window_.Reset(::CreateWindowExW(WS_EX_DLGMODALFRAME, kPanelClass, L"NEMBRA CLOUD Meeting (stand-in)", kStyle, kLeft,
                                    kTop, place.right - place.left, place.bottom - place.top, nullptr, nullptr,
                                    windowClass.hInstance, this));
    AddControls();
    ShowMeetings();
    ::ShowWindow(window_.Get(), SW_SHOWNOACTIVATE);
}

void Panel::AddControls() {
    const HWND window = window_.Get();
    constexpr int kColumn = 104; // a button and the space beside it
    const auto button = [&](int column, int top, const wchar_t* text, int id) {
        const int left = kMargin + column * (kColumn + 4);
        AddControl(window, L"BUTTON", text, kPushButton, id, RECT{left, top, left + kColumn, top + 28});
    };
    const auto heading = [&](int top, const wchar_t* text, int right = kRight) {
        AddControl(window, L"STATIC", text, SS_LEFT, -1, RECT{kMargin, top, right, top + 18});
    };
    heading(10, L"Messages");
    AddControl(window, L"LISTBOX", L"", kList, kMessages, RECT{kMargin, 30, kRight, 170});
    AddControl(window, L"EDIT", L"", WS_TABSTOP | WS_BORDER | WS_VSCROLL | ES_MULTILINE | ES_READONLY, kDetails,
               RECT{kMargin, 176, kRight, 318});
    button(0, 328, L"&Answer", kAnswer);
    AddControl(window, L"BUTTON", L"Always answer at &once", WS_TABSTOP | BS_AUTOCHECKBOX, kAtOnce,
               RECT{kMargin + kColumn + 8, 328, kRight, 356});
    heading(374, L"Meetings");
    AddControl(window, L"LISTBOX", L"", kList, kMeetings, RECT{kMargin, 394, kRight, 482});
    heading(496, L"Subject", kMargin + 50);
    AddControl(window, L"EDIT", L"", kEditLine, kMeetingSubject, RECT{kMargin + 54, 492, kRight, 516});
    button(0, 526, L"&Change subject", kChange);
    button(1, 526, L"1 hour &later", kLater);
    button(2, 526, L"Ca&ncel meeting", kCancel);
    heading(580, L"The add-in finds the client by its hidden window:");
    button(0, 600, L"&Disappear", kDisappear);
    button(1, 600, L"&Return", kReturn);
}

void Panel::AddMessage(const std::string& line, const Json::Value& message) {
    messages_.push_back(DetailsOf(message));
    const HWND list = Control(kMessages);
    ::SendMessageW(list, LB_ADDSTRING, 0, reinterpret_cast<LPARAM>(ToWide(line).c_str()));
    ::SendMessageW(list, LB_SETCURSEL, messages_.size() - 1, 0);
    ::SetWindowTextW(Control(kDetails), messages_.back().c_str());
}

void Panel::ShowCommand(const Json::Value& command) {
    AddMessage(Describe(command), command);
}

void Panel::ShowSent(const std::string& message, const std::string& result) {
    const Json::Value value = ParseObject(message).value_or(Json::Value(Json::objectValue));
    AddMessage(result == "ok" ? Describe(value) : "Not sent: " + result, value);
}

void Panel::ShowMeetings() {
    const Meeting* selected = Selected();
    const std::string before = selected ? selected->confId : std::string();
    const HWND list = Control(kMeetings);
    ::SendMessageW(list, LB_RESETCONTENT, 0, 0);
    listed_.clear();
    std::size_t select = 0;
    for (const auto& [confId, meeting] : meetings_.All()) {
        select = confId == before ? listed_.size() : select;
        listed_.push_back(confId);
        const std::wstring line = ToWide(confId + "   " + UtcText(meeting.startTime) + "   " + meeting.subject);
        ::SendMessageW(list, LB_ADDSTRING, 0, reinterpret_cast<LPARAM>(line.c_str()));
    }
    ::SendMessageW(list, LB_SETCURSEL, select, 0);
    ShowSelected();
}

const Meeting* Panel::Selected() const {
    const LRESULT index = ::SendMessageW(Control(kMeetings), LB_GETCURSEL, 0, 0);
    if (index < 0 || static_cast<std::size_t>(index) >= listed_.size()) {
        return nullptr;
    }
    const auto found = meetings_.All().find(listed_[static_cast<std::size_t>(index)]);
    return found == meetings_.All().end() ? nullptr : &found->second;
}

void Panel::ShowSelected() {
    const Meeting* meeting = Selected();
    ::SetWindowTextW(Control(kMeetingSubject), meeting ? ToWide(meeting->subject).c_str() : L"");
    for (const int id : {kMeetingSubject, kChange, kLater, kCancel}) {
        ::EnableWindow(Control(id), meeting != nullptr);
    }
    ShowState();
}

void Panel::ShowState() {
    ::EnableWindow(Control(kAnswer), !answers_.empty());
    ::EnableWindow(Control(kDisappear), present_);
    ::EnableWindow(Control(kReturn), !present_);
}

bool Panel::HoldAnswer(const std::string& answer) {
    if (::IsDlgButtonChecked(window_.Get(), kAtOnce) == BST_CHECKED) {
        return false;
    }
    answers_.push_back(answer);
    ShowState();
    return true;
}

void Panel::SendAnswers() {
    while (!answers_.empty()) {
        const std::string answer = answers_.front();
        answers_.pop_front();
        execute_("send " + answer);
    }
    ShowState();
}

void Panel::Change(WORD control) {
    const Meeting* meeting = Selected();
    if (!meeting) {
        return;
    }
    Json::Value changes(Json::objectValue);
    if (control == kChange) {
        changes["subject"] = ToUtf8(TextOf(Control(kMeetingSubject)));
    } else {
        changes["startTime"] = Json::Int64(meeting->startTime + kHour);
        changes["endTime"] = Json::Int64(meeting->endTime + kHour);
    }
    execute_("change " + meeting->confId + " " + Compact(changes));
}

void Panel::Cancel() {
    const Meeting* meeting = Selected();
    if (!meeting) {
        return;
    }
    Json::Value command(Json::objectValue);
    command["cmd"] = 5;
    command["confId"] = meeting->confId;
    command["confOutlookId"] = meeting->confOutlookId;
    const auto result = meetings_.Handle(command);
    ShowMeetings();
    if (result) {
        execute_("notify " + Compact(*result));
    }
}

void Panel::OnCommand(WORD control, WORD code) {
    switch (control) {
    case kMessages: {
        const LRESULT index = ::SendMessageW(Control(kMessages), LB_GETCURSEL, 0, 0);
        if (code == LBN_SELCHANGE && index >= 0) {
            ::SetWindowTextW(Control(kDetails), messages_[static_cast<std::size_t>(index)].c_str());
        }
        break;
    }
    case kMeetings:
        if (code == LBN_SELCHANGE) {
            ShowSelected();
        }
        break;
    case kAnswer:
    case kAtOnce:
        if (control == kAnswer || ::IsDlgButtonChecked(window_.Get(), kAtOnce) == BST_CHECKED) {
            SendAnswers();
        }
        break;
    case kChange:
    case kLater:
        Change(control);
        break;
    case kCancel:
        Cancel();
        break;
    case kDisappear:
    case kReturn:
        execute_(control == kReturn ? "show" : "hide");
        present_ = control == kReturn;
        ShowState();
        break;
    default:
        break;
    }
}

LRESULT CALLBACK Panel::WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) noexcept {
    if (message == WM_NCCREATE) {
        const auto* create = reinterpret_cast<const CREATESTRUCTW*>(lParam);
        ::SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(create->lpCreateParams));
    }
    auto* panel = reinterpret_cast<Panel*>(::GetWindowLongPtrW(window, GWLP_USERDATA));
    if (message == WM_COMMAND && panel && panel->window_) {
        try {
            panel->OnCommand(LOWORD(wParam), HIWORD(wParam));
        } catch (...) {
            // Nothing may leave a window procedure; without memory the press has no effect.
        }
        return 0;
    }
    if (message == WM_CLOSE) { // the client lives on; its window can be opened again
        ::ShowWindow(window, SW_MINIMIZE);
        return 0;
    }
    return ::DefWindowProcW(window, message, wParam, lParam);
}

} // namespace meeting_client
