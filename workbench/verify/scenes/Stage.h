#pragma once

#include "workbench/verify/core/LogTail.h"
#include "workbench/verify/faults/Scene.h"
#include "workbench/verify/scenes/Actions.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace verify {

class Stage;

/// One scene of the fault run within Outlook: what is done, and what must come of it.
struct Plan {
    const char* name;
    bool (*step)(Stage&);
    void (*prepare)(Stage&) = nullptr;
    unsigned flags = 0;
    const wchar_t* control = nullptr; ///< that is pressed
    int command = -1;                 ///< that the client must get
    const char* text = nullptr;       ///< that the add-in reads; it is cut at each place in turn
    int dialogAnswer = IDCANCEL;
};

enum PlanFlag : unsigned {
    kNoClient = 1,
    kInAppointment = 2,   ///< the control is on the ribbon of appointments
    kUnconnected = 4,     ///< Outlook has loaded the add-in, and has not connected it
    kSinksRest = 8,       ///< when the windows are closed, the add-in listens to nothing that it did not before
    kOncePerProcess = 16, ///< no other step of the process is like it
    kLaunches = 32,       ///< the client must be launched
    kAsks = 64,           ///< a dialog must come
    kNamesItem = 128,     ///< the item, or one if there was none, must get the step's subject
};

/// Plays a plan. Host thread.
class Stage final : public Act {
public:
    Stage(StagedModule& module, const Plan& plan);

    void Prepare() override;
    bool Step() override;
    std::vector<std::string> Judge() override;
    bool Works() override;
    bool Degraded() override;
    std::vector<std::string> End() override;

    // For the plans.
    const Plan& Script() const { return plan_; }
    workbench::OutlookHost& Host() const { return session_.Host(); }
    workbench::AddInHost& AddIn() const { return session_.AddIn(); }
    workbench::Ribbon& Explorer() const { return session_.Explorer(); }
    workbench::Ribbon& Appointment() const { return session_.Appointment(); }
    void CloseInspectors() const { session_.CloseInspectors(); }
    workbench::ItemPtr Open(bool saved, const wchar_t* comment = L"");
    bool Press(const wchar_t* control);
    /// Sends to the add-in. @return false when its window is not there.
    static bool Notify(std::string_view json);
    /// Sends the end of the last message in segments once more: one of which a segment was lost waits for it in the
    /// add-in, by the rules of the channel.
    static void EndSegments();

    // Objects that the preparation makes for the step.
    workbench::ItemPtr item;
    workbench::ExplorerPtr explorer;
    std::string text;    // whole or cut
    std::string subject; // no other step of this process has it

private:
    void Begin();
    bool HadItsEffect() const;
    /// For each call on Outlook's objects: whether and how it fails.
    std::optional<workbench::Failure> Fail(const workbench::CallRecord& call);
    void JudgeConsequences(std::vector<std::string>& problems);

    const Plan& plan_;
    Session session_;
    Player player_{session_};
    std::uint64_t launchesBefore_ = 0;
    std::uint64_t dialogsBefore_ = 0;
    std::optional<workbench::CallRecord> failed_;
    std::optional<AddinLogTail> log_;
};

std::vector<Scene> ModuleScenes();  // load, objects, registration, log, exported functions
std::vector<Scene> OutlookScenes(); // connection, ribbon, presses, notifications, events

} // namespace verify
