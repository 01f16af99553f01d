#pragma once

#include "workbench/soak/AddinLog.h"
#include "workbench/soak/ClientSide.h"
#include "workbench/soak/MessageFlow.h"
#include "workbench/soak/Options.h"
#include "workbench/soak/Pulse.h"

#include "workbench/gauges/Usage.h"
#include "workbench/gauges/Watchdog.h"

#include "workbench/host/DialogResponder.h"
#include "workbench/host/OutlookHost.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace soak {

/// The random numbers of one action. Each action draws as many, whether it can be carried out or not, so that the
/// sequence depends on the seed alone.
struct Draw {
    std::uint64_t kind;
    std::uint64_t a;
    std::uint64_t b;
    std::uint64_t c;
};

/// The whole run. Main thread.
class Soak {
public:
    explicit Soak(const Options& options);
    ~Soak();

    /// @return whether there was no violation.
    bool Run();

private:
    using Clock = std::chrono::steady_clock;
    struct Action {
        const char* name;
        unsigned weight;
        void (Soak::*carryOut)(const Draw&);
    };
    static const std::vector<Action>& Actions();

    // The course (Soak.cpp)
    bool TimeIsUp() const;
    void Step();
    void ReadAll();
    void Settle();
    void RenewResponder();
    void WhileDialogIsOpen();
    void Progress();
    void Violation(const std::string& what);
    void Pump(unsigned milliseconds);

    // One run of Outlook (Session.cpp)
    void BeginSession(const Draw& draw);
    void CountInspectors(const workbench::Step& step);
    void EndSession();
    void EndSessionAndClient();
    void StartClient();
    void EndClient(bool kill);

    // Actions of Outlook's user and of Outlook (HostActions.cpp)
    void NewAppointment(const Draw& draw);
    void NewMail(const Draw& draw);
    void OpenItem(const Draw& draw);
    void EditItem(const Draw& draw);
    void SaveItem(const Draw& draw);
    void SendItem(const Draw& draw);
    void DeleteItem(const Draw& draw);
    void CloseInspector(const Draw& draw);
    void SecondWindow(const Draw& draw);
    void OpenExplorer(const Draw& draw);
    void CloseExplorer(const Draw& draw);
    void SwitchFolder(const Draw& draw);
    void PressInExplorer(const Draw& draw);
    void PressInAppointment(const Draw& draw);
    void PressWithoutWindow(const Draw& draw);
    void AskRibbon(const Draw& draw);
    void ActivateWindow(const Draw& draw);
    void FireStrangeEvent(const Draw& draw);
    void UpdateAddIns(const Draw& draw);
    void ChangeLanguage(const Draw& draw);
    void Reconnect(const Draw& draw);
    void RestartOutlook(const Draw& draw);

    // Actions of the client (ClientActions.cpp)
    void Notify(const Draw& draw);
    void NotifyUnknown(const Draw& draw);
    void SendMalformed(const Draw& draw);
    void SendRaw(const Draw& draw);
    void SendBulk(const Draw& draw);
    void TearMessage(const Draw& draw);
    void ChangeAnswers(const Draw& draw);
    void StartClientAgain(const Draw& draw);
    void QuitClient(const Draw& draw);
    void KillClient(const Draw& draw);
    void KillClientMidway(const Draw& draw);
    void HangClient(const Draw& draw);
    void HideClient(const Draw& draw);
    void ShowClient(const Draw& draw);
    void DelayAnswers(const Draw& draw);

    // Helpers of the actions
    std::wstring NextId();
    void MoveToUniquePlace(HWND window);
    workbench::InspectorPtr PickInspector(std::uint64_t number, bool appointment);
    void Press(workbench::Surface surface, const wchar_t* id, const workbench::RibbonContext& context);
    void LimitInspectors();

    // The end (Ledger.cpp)
    void CheckMessages();
    void TakeUsage();
    void CheckUsage();
    void TellLedger();

    const Options options_;
    std::mt19937_64 random_;
    std::mt19937_64 dialogRandom_; // dialogs come when they come; their answers must not disturb the actions
    const Clock::time_point start_ = Clock::now();
    Clock::time_point nextProgress_ = start_;
    gauges::Watchdog watchdog_;
    MessageFlow commands_{"command"};
    MessageFlow notifications_{"notification"};
    AddinLog log_{commands_, notifications_};
    ClientSide client_{commands_, notifications_};
    Pulse pulse_;
    std::unique_ptr<workbench::OutlookHost> host_;
    workbench::AddInHost* addIn_ = nullptr;
    std::unique_ptr<workbench::DialogResponder> responder_;
    const gauges::Usage usageAtStart_ = gauges::MeasureUsage();
    std::vector<gauges::Usage> usages_; // at the ends of sessions, when everything has gone
    long language_ = 1033;
    std::uint64_t nextId_ = 0;
    bool nested_ = false;

    std::uint64_t actions_ = 0;
    std::uint64_t actionsOfSession_ = 0;
    std::uint64_t sessions_ = 0;
    std::uint64_t inspectorsOpened_ = 0;
    std::uint64_t inspectorsClosed_ = 0; // by their event; the others went with Outlook
    std::uint64_t explorersOpened_ = 0;
    std::uint64_t presses_ = 0;
    std::uint64_t dialogs_ = 0;
    std::uint64_t reconnects_ = 0;
    std::uint64_t hostObjects_ = 0;
    std::uint64_t hostCalls_ = 0;
    std::size_t outstanding_ = 0; // host references found at the ends of sessions
    std::size_t sinksLeft_ = 0;
    std::chrono::milliseconds longestAction_{0};
    std::string longestName_;
    std::vector<std::string> violations_;
};

} // namespace soak
