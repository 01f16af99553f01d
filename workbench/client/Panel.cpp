#include "workbench/client/Panel.h"

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
constexpr std::int64_t kHour = 3600; // s

constexpr ControlRow kControls[] = {
    {L"STATIC", L"Messages", SS_LEFT, -1, {12, 10, 444, 28}},
    {L"LISTBOX", L"", kList, kMessages, {12, 30, 444, 170}},
    {L"EDIT", L"", WS_TABSTOP | WS_BORDER | WS_VSCROLL | ES_MULTILINE | ES_READONLY, kDetails, {12, 176, 444, 318}},
    {L"BUTTON", L"&Answer", kPushButton, kAnswer, {12, 328, 116, 356}},
    {L"BUTTON", L"Always answer at &once", WS_TABSTOP | BS_AUTOCHECKBOX, kAtOnce, {124, 328, 444, 356}},
    {L"STATIC", L"Meetings", SS_LEFT, -1, {12, 374, 444, 392}},
    {L"LISTBOX", L"", kList, kMeetings, {12, 394, 444, 482}},
    {L"STATIC", L"Subject", SS_LEFT, -1, {12, 496, 62, 514}},
    {L"EDIT", L"", kEditLine, kMeetingSubject, {66, 492, 444, 516}},
    {L"BUTTON", L"&Change subject", kPushButton, kChange, {12, 526, 116, 554}},
    {L"BUTTON", L"1 hour &later", kPushButton, kLater, {120, 526, 224, 554}},
    {L"BUTTON", L"Ca&ncel meeting", kPushButton, kCancel, {228, 526, 332, 554}},
    {L"STATIC", L"The add-in finds the client by its hidden window:", SS_LEFT, -1, {12, 580, 444, 598}},
    {L"BUTTON", L"&Disappear", kPushButton, kDisappear, {12, 600, 116, 628}},
    {L"BUTTON", L"&Return", kPushButton, kReturn, {120, 600, 224, 628}},
};

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
    AddControls(window_.Get(), kControls);
    ShowMeetings();
    ::ShowWindow(window_.Get(), SW_SHOWNOACTIVATE);
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
    const auto index = static_cast<std::size_t>(::SendMessageW(Control(kMeetings), LB_GETCURSEL, 0, 0));
    const auto found = index < listed_.size() ? meetings_.All().find(listed_[index]) : meetings_.All().end();
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
    const bool atOnce = ::IsDlgButtonChecked(window_.Get(), kAtOnce) == BST_CHECKED;
    if (control == kMessages && code == LBN_SELCHANGE) {
        const auto index = static_cast<std::size_t>(::SendMessageW(Control(kMessages), LB_GETCURSEL, 0, 0));
        ::SetWindowTextW(Control(kDetails), index < messages_.size() ? messages_[index].c_str() : L"");
    } else if (control == kMeetings && code == LBN_SELCHANGE) {
        ShowSelected();
    } else if (control == kAnswer || (control == kAtOnce && atOnce)) {
        SendAnswers();
    } else if (control == kChange || control == kLater) {
        Change(control);
    } else if (control == kCancel) {
        Cancel();
    } else if (control == kDisappear || control == kReturn) {
        present_ = control == kReturn;
        execute_(present_ ? "show" : "hide");
        ShowState();
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
