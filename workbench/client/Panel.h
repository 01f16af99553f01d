#pragma once

#include "workbench/client/Meetings.h"

#include "support/UniqueResource.h"

#include <json/value.h>

#include <deque>
#include <functional>
#include <string>
#include <vector>

namespace meeting_client {

/// Ids of the panel's controls.
enum PanelControl : int {
    kMessages = 301,
    kDetails,
    kAnswer,
    kAtOnce,
    kMeetings,
    kMeetingSubject,
    kChange,
    kLater,
    kCancel,
    kDisappear,
    kReturn
};

inline constexpr wchar_t kPanelClass[] = L"NbmWorkbenchClientPanel";

/// The client's window: what it received and sent, and what its user can do. Client's thread.
class Panel {
public:
    /// Carries an order out. @return "ok" or why not.
    using Execute = std::function<std::string(const std::string& order)>;

    Panel(MeetingBook& meetings, Execute execute);

    void ShowCommand(const Json::Value& command);
    void ShowMeetings();
    /// Keeps the answer until the user presses "Answer". @return false when answers go at once.
    bool HoldAnswer(const std::string& answer);
    /// @param result "ok" or why it was not sent.
    void ShowSent(const std::string& message, const std::string& result);
    /// Handles a key that moves between the panel's controls. @return whether it was one.
    bool TakesKey(MSG& message) { return ::IsDialogMessageW(window_.Get(), &message) != FALSE; }

private:
    static LRESULT CALLBACK WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) noexcept;
    void OnCommand(WORD control, WORD code);
    void SendAnswers();
    void Change(WORD control);
    void Cancel();
    /// Adds a line to the list of messages; `message` is shown while the line is selected.
    void AddMessage(const std::string& line, const Json::Value& message);
    void ShowSelected();
    void ShowState();
    const Meeting* Selected() const;
    HWND Control(int id) const { return ::GetDlgItem(window_.Get(), id); }

    MeetingBook& meetings_;
    Execute execute_;
    std::vector<std::wstring> messages_; // the details of each line
    std::vector<std::string> listed_;    // conference ids
    std::deque<std::string> answers_;    // that wait for the user
    bool present_ = true;                // whether the add-in can find the client
    UniqueWindow window_;                // last: its messages use the others
};

} // namespace meeting_client
