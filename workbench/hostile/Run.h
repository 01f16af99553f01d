#pragma once

#include "workbench/hostile/Board.h"
#include "workbench/hostile/ReaderCount.h"

#include "workbench/client/ClientProcess.h"
#include "workbench/gauges/Usage.h"
#include "workbench/host/OutlookHost.h"

#include <atomic>
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
    explicit Run(const RunOptions& options);
    ~Run();

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
    void TellProgress() const;
    bool Judge();
    void Say(const char* format, ...) const;

    RunOptions options_;
    std::wstring boardName_;
    SharedBoard board_;
    ReaderCount log_;
    std::uint64_t readBefore_ = 0;      // messages of the client, before the sender
    std::uint64_t refusedByReader_ = 0; // of the sender's
    std::unique_ptr<workbench::OutlookHost> host_;
    workbench::AddInHost* addIn_ = nullptr;
    std::optional<meeting_client::ClientProcess> client_;
    UniqueHandle job_; // ends the sender with this process
    UniqueHandle sender_;
    ULONGLONG started_ = 0;
    gauges::Usage before_;
    gauges::Usage after_;
    std::uint64_t appointments_ = 0; // opened by forged notifications
    int services_ = 0;
};

/// A sign of life of the main thread, for the watchdog of `main`.
extern std::atomic<ULONGLONG> g_lastSign; // milliseconds

} // namespace hostile
