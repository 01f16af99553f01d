#pragma once

#include "workbench/verify/core/LogTail.h"
#include "workbench/verify/faults/MeetingClient.h"
#include "workbench/verify/faults/Scene.h"
#include "workbench/verify/scenes/Actions.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace verify {

inline constexpr wchar_t kMarked[] = LR"({"nbm_flag":true,"is_new_item":false,"conf_id":"c-1"})";
inline constexpr wchar_t kMarkedNew[] = LR"({"nbm_flag":true,"is_new_item":true,"conf_id":"c-1"})";

class Stage;

/// One scene of the fault run within Outlook.
struct Plan {
    const char* name;
    bool (*step)(Stage&);
    void (*prepare)(Stage&) = nullptr;
    unsigned flags = 0;
    const wchar_t* control = nullptr; ///< that is pressed
    int command = -1;                 ///< that the client must get
    const char* text = nullptr;       ///< that the client sends, or that is cut
    int dialogAnswer = IDCANCEL;
};

enum PlanFlag : unsigned {
    kNoClient = 1,
    kInAppointment = 2, ///< the control is on the ribbon of appointments
    kUnconnected = 4,   ///< Outlook has loaded the add-in, and has not connected it
    kCutText = 8,       ///< the text is cut at each place in turn
    kSinksRest = 16,    ///< when the windows are closed, the add-in listens to nothing that it did not before
    kOncePerProcess = 32,
};

/// Plays a plan. Host thread.
class Stage final : public Act {
public:
    Stage(StagedModule& module, const Plan& plan);

    void Prepare() override;
    bool Step() override { return plan_.step(*this); }
    bool Works() override;
    bool Degraded() override;
    std::vector<std::string> End() override;
    void Spoil(const Order& order) override;
    void Count(Counts& counts) const override;
    std::string Spoilt() const override;
    std::vector<std::string> Judge() override;

    // For the plans.
    const Plan& Script() const { return plan_; }
    workbench::OutlookHost& Host() const { return session_.Host(); }
    workbench::AddInHost& AddIn() const { return session_.AddIn(); }
    workbench::Ribbon& Explorer() const { return session_.Explorer(); }
    workbench::Ribbon& Appointment() const { return session_.Appointment(); }
    workbench::ItemPtr Open(bool saved, const wchar_t* comment = L"");
    void CloseInspectors() const { session_.CloseInspectors(); }
    /// Lets everything that is under way arrive: channel rounds and posted messages.
    static void Settle();
    HRESULT Press(const wchar_t* control);
    bool Notify(std::string_view json);
    static bool CommandCame(int command);
    /// Whether it holds. While nothing fails it is waited for: the channel's threads may be late on a busy machine.
    bool Arrives(const std::function<bool()>& holds) const;
    bool Launched() const;
    bool DialogSeen() const { return session_.Dialogs() > dialogsBefore_; }
    /// A text that no other of this process is.
    static std::string Unique();

    // Objects that the preparation makes for the step.
    workbench::ItemPtr item;
    workbench::ExplorerPtr explorer;
    std::string text; // whole or cut

private:
    void Begin();
    bool Cuts() const { return (plan_.flags & kCutText) != 0; }
    std::optional<workbench::CallRecord> FailedCall() const;

    const Plan& plan_;
    Session session_;
    Player player_{session_};
    std::uint64_t launchesBefore_ = 0;
    std::uint64_t dialogsBefore_ = 0;
    Order spoils_;
    std::optional<AddinLogTail> log_;
};

std::vector<Scene> ModuleScenes();  // load, objects, registration, log, exported functions
std::vector<Scene> OutlookScenes(); // connection, ribbon, presses, notifications, events

} // namespace verify
