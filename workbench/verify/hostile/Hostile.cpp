#include "workbench/verify/core/Options.h"

#include "workbench/verify/core/HeapCheck.h"
#include "workbench/verify/core/ImportPatch.h"
#include "workbench/verify/core/LogTail.h"
#include "workbench/verify/core/Process.h"
#include "workbench/verify/core/Report.h"
#include "workbench/verify/core/Session.h"
#include "workbench/verify/core/Usage.h"
#include "workbench/verify/hostile/Board.h"

#include "workbench/client/ClientProcess.h"
#include "workbench/host/Pump.h"

#include "support/Text.h"

#include <algorithm>
#include <cstdio>
#include <map>
#include <optional>
#include <stdexcept>

namespace verify {
namespace {

// Generous: a machine with too much to do is no fault of the add-in.
constexpr std::chrono::seconds kMostSilence{150};
constexpr std::chrono::milliseconds kLimit{120'000}; // for anything that the add-in should do
constexpr unsigned kSlice = 20;                      // ms
constexpr std::uint64_t kSentPerCheck = 1000;        // of the heaps
constexpr std::size_t kMegabyte = 1024 * 1024;
// At most 16 handles that the system keeps for later. Its heaps keep room for later too, which counts as allocated;
// that is far less than the bytes sent in a run of a million messages.
constexpr Usage kSlack = {16, kNotJudged, 0, kNotJudged, kNotJudged, kNotJudged, 32 * kMegabyte, kNotJudged};
constexpr DWORD kFaster = 40;

// The channel of the add-in reads one message in 20 ms, which would keep a run of a million busy for hours. For the
// module, sleeps are shorter and the performance counter runs ahead; nothing else of it changes.

void WINAPI SleepLess(DWORD milliseconds) {
    ::Sleep(milliseconds == 0 ? 0 : milliseconds / kFaster + 1);
}

BOOL WINAPI CountFaster(LARGE_INTEGER* count) {
    const BOOL done = ::QueryPerformanceCounter(count);
    count->QuadPart *= kFaster;
    return done;
}

/// A check that notices nothing is worth nothing.
int TestHeapChecks() {
    Report report;
    for (const std::string& fault : MissedHeapFaults()) {
        report.Violation("nobody notices the damage of " + fault);
    }
    return report.Tell();
}

/// The stand-in Outlook with the real add-in, while the sender, a process of its own, does its worst. Main thread,
/// single-threaded apartment. Everything throws std::runtime_error as soon as the add-in does not stand it.
class Run {
public:
    explicit Run(const HostileOptions& options) : options_(options) {}

    int Play() {
        StartOutlook();
        CheckService("before");
        ReadLog(); // those lines were about messages of the client
        verdicts_.clear();
        board_.read = 0;
        const Usage before = MeasureUsage();
        FollowSender();
        AwaitReader();
        CheckService("after");
        ReleaseFreed();
        CheckHeaps();
        Usage after = MeasureUsage();
        if (const std::vector<std::string> left = session_.End(); !left.empty()) {
            throw std::runtime_error(fmt::format("{}", fmt::join(left, ", ")));
        }
        client_.reset();
        ReleaseFreed();
        CheckHeaps();
        after[kHeapBytes] = MeasureUsage()[kHeapBytes]; // without the items and the transcript
        return Judge(before, after);
    }

private:
    void StartOutlook() {
        // The cache of freed texts would look like a leak.
        const auto noCache = ::GetProcAddress(::LoadLibraryW(L"oleaut32.dll"), "SetOaNoCache");
        reinterpret_cast<void(WINAPI*)()>(reinterpret_cast<void*>(noCache))();
        session_.Begin();
        // Before its threads start: they may keep the address of a function that they call.
        const HMODULE module = session_.AddIn().Module();
        if (!WatchFrees(module) || !PatchImport(module, "Sleep", reinterpret_cast<void*>(&SleepLess)) ||
            !PatchImport(module, "QueryPerformanceCounter", reinterpret_cast<void*>(&CountFaster))) {
            throw std::runtime_error("the add-in does not import what this program replaces");
        }
        if (session_.AddIn().Connect() != S_OK) {
            throw std::runtime_error("the add-in does not connect");
        }
        const workbench::ItemPtr stored = session_.Host().NewAppointment();
        stored->Save();
        std::snprintf(board_.entryId, sizeof board_.entryId, "%s", ToUtf8(stored->EntryId()).c_str());
        meeting_client::ClientSettings settings;
        settings.startLimit = kLimit;
        settings.arguments = {L"--ignore", L"--max-seconds", L"36000"};
        settings.whileWaiting = [this] {
            watchdog_.Beat();
            workbench::PumpFor(5);
        };
        client_.emplace(std::move(settings));
    }

    /// The sender has limits of its own for each thing that it waits for, and tells why it ends early.
    void FollowSender() {
        const process::ChildProcess sender = StartChild({L"hostile", std::to_wstring(options_.messages), L"--seed",
                                                         std::to_wstring(options_.seed), L"--board", boardName_});
        while (sender.Running()) {
            workbench::PumpFor(kSlice);
            Look();
            if (report_.ProgressIsDue()) {
                Say("{:5} s  {} sent ({} MB), {} to the reader, {} of them read, {} appointments, {} KB kept",
                    report_.Seconds(), board_.sent.load(), board_.bytes / kMegabyte, board_.complete.load(),
                    board_.read.load(), appointments_, board_.keptBytes / 1024);
            }
        }
        if (sender.WaitForEnd(0) != 0U || board_.sent != options_.messages) {
            throw std::runtime_error("the sender has ended early");
        }
    }

    /// Everything that was sent complete has to come out of the channel, each exactly once.
    void AwaitReader() {
        const auto isRead = [this] {
            Look();
            return board_.read >= board_.complete;
        };
        workbench::PumpUntil(isRead, static_cast<unsigned>(kLimit.count()));
        workbench::PumpFor(200); // one too many would come now
        Look();
        if (board_.read != board_.complete.load()) {
            throw std::runtime_error(fmt::format("of {} complete messages {} came out of the channel",
                                                 board_.complete.load(), board_.read.load()));
        }
    }
    /// A notification of the client makes an appointment; a press sends it a command.

    void CheckService(const char* when) {
        const std::string id = fmt::format("honest {}", when);
        const std::string times = R"("startTime":1767260400,"endTime":1767264000)";
        const auto result = client_->Order(
            fmt::format(R"(notify {{"notify":101,"confId":"{}","subject":"{}",{}}})", id, id, times), kLimit);
        const auto opened = [&] {
            return std::ranges::any_of(session_.Host().Inspectors(), [&](const workbench::InspectorPtr& window) {
                return window->CurrentItem()->fields.subject == ToWide(id);
            });
        };
        if (!result.done || !client_->WaitUntil(opened, kLimit)) {
            throw std::runtime_error(fmt::format("no appointment for the client's notification {} the attack", when));
        }
        session_.CloseInspectors(); // unsaved, so that the client gets a command too
        const auto isCommand = [&](const meeting_client::TranscriptEntry& entry) {
            return entry.kind == "message" && entry.direction == "in" && entry.bytes.find(id) != std::string::npos;
        };
        if (!client_->WaitForEntry(isCommand, kLimit)) {
            throw std::runtime_error(fmt::format("no command reaches the client {} the attack", when));
        }
        Say("the client's notification has made an appointment and its command has come back ({})", when);
    }

    /// The main thread's work besides its messages. Windows that forged notifications have opened are closed; the
    /// add-in tells the client so.
    void Look() {
        watchdog_.Beat();
        ReadLog();
        appointments_ += session_.Host().Inspectors().size();
        session_.CloseInspectors();
        session_.Host().ResetCalls();
        session_.AnswerDialogs([] { return IDCANCEL; });
        if (board_.sent - sentAtCheck_ >= kSentPerCheck) {
            CheckHeaps();
        }
    }

    /// Counts the verdicts of the add-in's reader in its own log, by their kind. Texts that do not fit a log line are
    /// missing there, so it is the lines about the verdict that count: one for each message.
    void ReadLog() {
        constexpr std::string_view kType = "Type: ";
        for (const AddinLogLine& line : log_.Read()) {
            std::string verdict;
            if (line.function == "AddIn::NotifyCallback" && line.text.starts_with(kType)) {
                const std::string type = line.text.substr(kType.size());
                const bool known = type == "101" || type == "102" || type == "103" || type == "200";
                verdict = "accepted: " + (known ? type : "of another type");
            } else if (line.function == "Meeting::OnRecvMsg" && line.level == "Err") {
                verdict =
                    line.text.starts_with("parse msg fail") ? "refused: no JSON" : "refused: JSON, but no notification";
            } else {
                continue;
            }
            ++verdicts_[verdict];
            ++board_.read;
        }
    }

    void CheckHeaps() {
        sentAtCheck_ = board_.sent;
        ++heapChecks_;
        if (!HeapsAreSound() || DamagedFrees() != 0) {
            throw std::runtime_error(fmt::format("a heap is damaged, found after message {}", sentAtCheck_));
        }
    }

    int Judge(const Usage& before, const Usage& after) {
        for (const auto& [verdict, count] : verdicts_) {
            report_.Row(verdict, fmt::format("{} ({:.2f} %)", count,
                                             100.0 * static_cast<double>(count) / static_cast<double>(board_.sent)));
        }
        report_.Row("to the reader, of all these", board_.complete.load());
        report_.Row("appointments opened", appointments_);
        report_.Row("dialogs answered", session_.Dialogs());
        report_.Row("all heaps checked, without damage", heapChecks_);
        report_.Row("freed blocks checked, without damage", WatchedFrees());
        report_.Row("before", Describe(before));
        report_.Row("after", Describe(after));
        if (WatchedFrees() < board_.complete.load()) {
            report_.Violation("the add-in gives its blocks back on another way than the one that is watched");
        }
        Usage known{};
        known[kHeapBytes] = 2 * board_.keptBytes; // the parts grow by doubling
        if (const std::string grown = Growth(before, after, kSlack, known); !grown.empty()) {
            report_.Violation("leak: " + grown);
        }
        return report_.Tell();
    }

    const HostileOptions& options_;
    const std::wstring boardName_ = NewName();
    Board& board_ = OpenBoard(boardName_);
    Watchdog watchdog_{kMostSilence};
    Report report_;
    AddinLogTail log_;
    std::map<std::string, std::uint64_t> verdicts_; // of the add-in's reader
    Session session_;
    std::optional<meeting_client::ClientProcess> client_;
    std::uint64_t appointments_ = 0; // opened by forged notifications
    std::uint64_t heapChecks_ = 0;
    std::uint64_t sentAtCheck_ = 0;
};

} // namespace

int RunHostile(const HostileOptions& options) {
    if (!options.board.empty()) {
        return RunSender(options);
    }
    if (options.selfTest) {
        return TestHeapChecks();
    }
    Say("seed {}, {} messages", options.seed, options.messages);
    ReportCrashes();
    return Run(options).Play();
}

} // namespace verify
