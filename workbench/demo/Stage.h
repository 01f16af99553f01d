#pragma once

#include "workbench/demo/AddinLog.h"
#include "workbench/demo/Camera.h"
#include "workbench/demo/Play.h"
#include "workbench/demo/Registration.h"
#include "workbench/demo/Story.h"

#include "workbench/client/ClientProcess.h"
#include "workbench/host/DialogResponder.h"
#include "workbench/host/OutlookHost.h"

#include <json/value.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <set>
#include <string>

namespace demo {

/// The buttons that the demo presses.
inline constexpr wchar_t kStartMail[] = L"StartMeetingMail";
inline constexpr wchar_t kScheduleCalendar[] = L"BookMeetingCalendar";
inline constexpr wchar_t kScheduleAppointment[] = L"BookMeetingAppointment";
inline constexpr wchar_t kCancelAppointment[] = L"CancelMeeetingAppointment";

/// Commands and notifications by their numbers on the wire.
enum Command : int { kOpen = 0, kStart = 2, kSchedule = 4, kCancel = 5, kModify = 6 };
enum Notification : int { kScheduled = 101, kModified = 102, kCancelled = 103, kChanged = 200 };

/// Answers of the dialogs.
inline constexpr int kCloseBox = 2;
inline constexpr int kSyncNow = 4;
inline constexpr int kLater = 5;

/// Sizes for pictures, in pixels.
inline constexpr SIZE kMainSize{641, 331};
inline constexpr SIZE kEditorSize{641, 421};

/// A dialog that the story expects.
struct ExpectedDialog {
    std::wstring what{}; // as the step names it
    std::wstring text{}; // part of its text
    int answer = kCloseBox;
    std::wstring picture{};                  // name; empty for none
    std::function<void()> whileOpen = [] {}; // before the picture
};

enum class MarkerNow {
    Same,
    Settled, // no longer new: the client has been told the final details
    Gone     // with an appointment that was never saved
};

struct ScheduledMeeting {
    workbench::ItemPtr item;
    std::string confId;
};

/// The messages that were told of those that go one way between the add-in and the client.
struct Way {
    const char* direction;    // in the client's transcript
    std::size_t all = 0;      // for the last count
    std::size_t ofClient = 0; // of the process that runs now
};

/// Everything the scenarios share: the stand-in Outlook with the add-in, the meeting client, and the story. Main
/// thread.
class Stage {
public:
    explicit Stage(const Options& options);

    const Options options;
    const std::wstring dll; // the add-in's file
    Story story;
    Camera camera;
    AddinLog log;
    workbench::OutlookHost outlook;
    workbench::AddInHost* addIn = nullptr;
    workbench::ExplorerPtr explorer;
    HMODULE module = nullptr;                   // the add-in's, once it is loaded
    std::unique_ptr<Registration> registration; // null without (--by-path)

    // --- Language ---
    const wchar_t* In(const wchar_t* english, const wchar_t* chinese) const {
        return options.chinese ? chinese : english;
    }
    std::wstring LabelOf(const wchar_t* controlId);

    // --- The client's process ---
    meeting_client::ClientProcess& Client() { return *client_; }
    /// Starts one unless it runs.
    void StartClient();
    /// Starts one, or takes over the one that the launch URI started.
    void TakeClient(meeting_client::ClientSettings settings);
    void EndClient();
    void Order(const std::string& order);
    /// Sets the input of the user in the client's own form, which follows a press without an appointment. It holds as
    /// long as that client runs.
    void FillForm();

    // --- Buttons, commands, notifications ---
    void PressInExplorer(const wchar_t* folder, const wchar_t* controlId);
    void PressInAppointment(const workbench::InspectorPtr& inspector, const wchar_t* controlId);
    /// The next command that arrives in the client. The first of its kind is told as it came, later ones in one line.
    Json::Value AwaitCommand(int number);
    /// Checks that for a while no command arrives.
    void AwaitNoCommand();
    /// The next notification that the client sends.
    Json::Value AwaitNotification(int number);
    void AwaitExchange(Command command, Notification answer);
    /// Waits until the meeting's appointment shows what the notification says. Tells it with its marker comment.
    /// @param expected the appointment that it must be; null for any.
    workbench::ItemPtr AwaitFilled(const Json::Value& notification, const workbench::ItemPtr& expected = nullptr);
    void TellAppointment(const workbench::ItemPtr& item, bool withMarker = true);
    /// The marker comment before and after something happened to the appointment. @throws StepFailed when it is not
    /// what it should be now.
    void TellMarker(const std::wstring& before, const workbench::ItemPtr& item, MarkerNow expected);
    /// Schedules from a new appointment, told in two steps. Its window stays open; nothing is saved.
    ScheduledMeeting MakeMeeting(const wchar_t* subject);

    /// Does `cause` and waits until the dialog that it brings has been seen and answered.
    void AwaitDialog(const ExpectedDialog& expected, HWND owner, const std::function<void()>& cause);

    // --- For the last count ---
    Way commands{"in"};
    Way notifications{"out"};
    std::size_t dialogs = 0;

private:
    bool HasClient() const { return client_ && client_->IsRunning(); }
    /// @param where of the step's text.
    void Press(const wchar_t* controlId, workbench::HostWindow& view, const std::wstring& where);
    /// Waits for the next message that goes that way and fits.
    std::string AwaitMessage(
        const std::wstring& step, Way& way,
        const std::function<bool(const std::string&)>& alsoNeeded = [](const std::string&) { return true; });
    /// The newest appointment whose marker holds that conference id; null when there is none.
    workbench::ItemPtr FindByConference(const std::wstring& confId) const;
    /// @return its whole text.
    std::wstring TellDialog(const workbench::DialogSeen& seen);

    std::unique_ptr<meeting_client::ClientProcess> client_;
    std::set<int> commandsShown_; // their numbers
};

/// Whether the appointment holds exactly what the notification says.
bool Holds(const workbench::Item& item, const Json::Value& notification);

} // namespace demo
