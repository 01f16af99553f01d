#pragma once

#include "workbench/hostile/Board.h"
#include "workbench/hostile/ReaderCount.h"

#include "workbench/client/ClientProcess.h"
#include "workbench/gauges/Usage.h"
#include "workbench/gauges/Watchdog.h"
#include "workbench/host/DialogResponder.h"
#include "workbench/host/OutlookHost.h"
#include "workbench/process/ChildProcess.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace hostile {

struct RunOptions {
    std::uint64_t messages = 1'000'000;
    std::uint64_t seed = 0;
};

/// The stand-in Outlook with the real add-in, while the sender, a process of its own, does its worst. Main thread,
/// single-threaded apartment.
class Run {
public:
    Run(const RunOptions& options, gauges::Watchdog& watchdog);

    /// @return whether the add-in stood it and still does its work. @throws std::runtime_error as soon as it does not.
    bool Play();

private:
    void StartOutlook();
    void StartSender();
    void FollowSender();
    void AwaitReader();
    /// A notification of the client makes an appointment; a press sends it a command.
    void CheckService(const char* when);
    void EndOutlook();
    void Look();
    void CloseInspectors();
    void RenewResponder();
    /// @throws std::runtime_error when a heap is damaged.
    void CheckHeaps();
    void TellProgress() const;
    bool Judge();
    void TellTable() const;
    void Say(const char* format, ...) const;

    RunOptions options_;
    std::wstring boardName_;
    SharedBoard board_;
    ReaderCount log_;
    ReaderVerdicts verdictsBefore_; // on messages of the client, before the sender
    ReaderVerdicts verdicts_;       // on the sender's
    std::unique_ptr<workbench::OutlookHost> host_;
    workbench::AddInHost* addIn_ = nullptr;
    std::optional<meeting_client::ClientProcess> client_;
    std::optional<process::ChildProcess> sender_;
    gauges::Watchdog& watchdog_;
    std::unique_ptr<workbench::DialogResponder> responder_;
    ULONGLONG started_ = 0;
    gauges::Usage before_;
    gauges::Usage after_;
    std::uint64_t appointments_ = 0; // opened by forged notifications
    std::size_t itemBytes_ = 0;      // what the stand-in Outlook keeps of them
    std::uint64_t dialogs_ = 0;
    std::uint64_t heapChecks_ = 0;
    std::uint64_t sentAtCheck_ = 0;
    int services_ = 0;
};

} // namespace hostile
