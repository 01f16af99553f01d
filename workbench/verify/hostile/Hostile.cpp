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
constexpr unsigned kLimit = 120'000;          // ms for anything that the add-in should do
constexpr unsigned kSlice = 20;               // ms
constexpr ULONGLONG kSilence = 150'000;       // ms without any message sent
constexpr std::uint64_t kSentPerCheck = 1000; // of the heaps
constexpr std::size_t kMegabyte = 1024 * 1024;
// The memory that the run may use besides the parts that the channel keeps: the stand-in Outlook keeps all its items,
// and a heap's blocks grow with its use. This is far less than the bytes sent in a run of a million messages.
constexpr std::size_t kBytesOfItem = 4096; // without its texts
// At most 16 handles that the system keeps for later.
constexpr Usage kSlack = {16, kNotJudged, 0, kNotJudged, kNotJudged, kNotJudged, 16 * kMegabyte, kNotJudged};
// Of the image's GlobalFlag: marks behind each block, a pattern in free memory, arguments checked.
constexpr ULONG kHeapFlags = 0x70;
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

/// Of its texts now and as they were saved last.
std::size_t SizeOf(const workbench::Item& item) {
    const workbench::ItemFields& fields = item.fields;
    std::size_t characters = 0;
    for (const std::wstring* text : {&fields.subject, &fields.body, &fields.location, &fields.comment}) {
        characters += text->capacity();
    }
    return kBytesOfItem + 2 * characters * sizeof(wchar_t);
}

ULONG GlobalFlags() {
    using Ask = ULONG(NTAPI*)();
    const auto ask = reinterpret_cast<Ask>(
        reinterpret_cast<void*>(::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "RtlGetNtGlobalFlags")));
    return ask ? ask() : 0;
}

/// A check that notices nothing is worth nothing.
int TestHeapChecks() {
    const std::vector<std::string> missed = MissedHeapFaults();
    for (const std::string& fault : missed) {
        Say("VIOLATION: nobody notices the damage of {}", fault);
    }
    if (missed.empty()) {
        Say("each kind of damage to a heap is noticed");
    }
    return missed.empty() ? kNoViolation : kViolations;
}

/// Counts the verdicts of the add-in's reader in its own log, by their kind. Texts that do not fit a log line are
/// missing there, so it is the lines about the verdict that count: one for each message.
class ReaderCount {
public:
    /// Takes in the lines that were written since the last time.
    void Read();
    void Reset() {
        verdicts_.clear();
        taken_ = 0;
    }
    std::uint64_t Taken() const { return taken_; }
    const std::map<std::string, std::uint64_t>& Verdicts() const { return verdicts_; }

private:
    void Count(const std::string& verdict) {
        ++verdicts_[verdict];
        ++taken_;
    }

    AddinLogTail tail_;
    std::map<std::string, std::uint64_t> verdicts_;
    std::uint64_t taken_ = 0;
};

void ReaderCount::Read() {
    constexpr std::string_view kType = "Type: ";
    for (const AddinLogLine& line : tail_.Read()) {
        const std::string_view text = line.text;
        if (line.function == "AddIn::NotifyCallback" && text.starts_with(kType)) {
            const std::string type(text.substr(kType.size()));
            const bool known = type == "101" || type == "102" || type == "103" || type == "200";
            Count("accepted: " + (known ? type : "of another type"));
        } else if (line.function == "Meeting::OnRecvMsg" && line.level == "Err") {
            Count(text.starts_with("parse msg fail") ? "refused: no JSON" : "refused: JSON, but no notification");
        }
    }
}

/// The stand-in Outlook with the real add-in, while the sender, a process of its own, does its worst. Main thread,
/// single-threaded apartment. Everything throws std::runtime_error as soon as the add-in does not stand it.
class Run {
public:
    explicit Run(const HostileOptions& options) : options_(options) {}

    int Play();

private:
    void StartOutlook();
    void FollowSender();
    void AwaitReader();
    /// A notification of the client makes an appointment; a press sends it a command.
    void CheckService(const char* when);
    void EndOutlook();
    void Look();
    void CheckHeaps();
    void TellProgress() const;
    int Judge(const Usage& before, const Usage& after);

    const HostileOptions& options_;
    const std::wstring boardName_ = NewName();
    SharedBoard board_{boardName_, true};
    Watchdog watchdog_{kMostSilence};
    Report report_;
    ReaderCount log_;
    Session session_;
    std::optional<meeting_client::ClientProcess> client_;
    std::optional<process::ChildProcess> sender_;
    std::uint64_t appointments_ = 0; // opened by forged notifications
    std::size_t itemBytes_ = 0;      // that the stand-in Outlook keeps of them
    std::uint64_t heapChecks_ = 0;
    std::uint64_t sentAtCheck_ = 0;
    int services_ = 0;
};

int Run::Play() {
    StartOutlook();
    CheckService("before");
    log_.Read();
    log_.Reset(); // those were about messages of the client
    const Usage before = MeasureUsage();
    sender_.emplace(
        StartChild({L"hostile", std::to_wstring(options_.messages), L"--seed", std::to_wstring(options_.seed),
                    L"--board", boardName_, L"--host", std::to_wstring(::GetCurrentProcessId())},
                   process::Streams::Own));
    FollowSender();
    AwaitReader();
    TellProgress();
    CheckService("after");
    ReleaseFreed();
    const Usage after = MeasureUsage();
    CheckHeaps();
    EndOutlook();
    ReleaseFreed();
    CheckHeaps();
    return Judge(before, after);
}

void Run::StartOutlook() {
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
    std::snprintf(board_->entryId, sizeof board_->entryId, "%s", ToUtf8(stored->EntryId()).c_str());
    meeting_client::ClientSettings settings;
    settings.startLimit = std::chrono::milliseconds(kLimit);
    settings.arguments = {L"--ignore", L"--max-seconds", L"36000"};
    settings.whileWaiting = [] { workbench::PumpFor(5); };
    client_.emplace(std::move(settings));
}

/// The main thread's work besides its messages. Windows that forged notifications have opened are closed; the add-in
/// tells the client so.
void Run::Look() {
    watchdog_.Beat();
    log_.Read();
    board_->read = log_.Taken();
    appointments_ += session_.Host().Inspectors().size();
    session_.CloseInspectors();
    session_.Host().ResetCalls();
    session_.AnswerDialogs([] { return IDCANCEL; });
    if (board_->sent - sentAtCheck_ >= kSentPerCheck) {
        CheckHeaps();
    }
}

void Run::CheckHeaps() {
    sentAtCheck_ = board_->sent;
    ++heapChecks_;
    if (!HeapsAreSound() || DamagedFrees() != 0) {
        throw std::runtime_error(fmt::format("a heap is damaged, found after message {}", sentAtCheck_));
    }
}

void Run::FollowSender() {
    std::uint64_t seen = 0;
    ULONGLONG lastSent = ::GetTickCount64();
    while (sender_->Running()) {
        workbench::PumpFor(kSlice);
        Look();
        if (const std::uint64_t sent = board_->sent; sent != seen) {
            seen = sent;
            lastSent = ::GetTickCount64();
        } else if (::GetTickCount64() - lastSent > kSilence) {
            throw std::runtime_error("the sender gets nothing through any more");
        }
        if (report_.ProgressIsDue()) {
            TellProgress();
        }
    }
    const std::optional<DWORD> code = sender_->WaitForEnd(0);
    sender_.reset(); // before the handles are counted
    if (code != 0U || board_->sent != options_.messages) {
        throw std::runtime_error(fmt::format("the sender has ended early: {}", board_->failure));
    }
}

/// Everything that was sent complete has to come out of the channel, each exactly once.
void Run::AwaitReader() {
    workbench::PumpUntil(
        [this] {
            Look();
            return board_->read >= board_->complete;
        },
        kLimit);
    workbench::PumpFor(200); // one too many would come now
    Look();
    if (board_->read != board_->complete) {
        throw std::runtime_error(fmt::format("of {} complete messages {} came out of the channel",
                                             board_->complete.load(), board_->read.load()));
    }
}

void Run::CheckService(const char* when) {
    const std::string id = fmt::format("honest {}", ++services_);
    const std::wstring subject = ToWide(id);
    const auto result =
        client_->Order(fmt::format(R"(notify {{"notify":101,"confId":"{}","subject":"{}","startTime":1767260400,)"
                                   R"("endTime":1767264000}})",
                                   id, id),
                       std::chrono::milliseconds(kLimit));
    const auto found = [&] {
        watchdog_.Beat();
        const auto& windows = session_.Host().Inspectors();
        return std::any_of(windows.begin(), windows.end(), [&](const workbench::InspectorPtr& window) {
            return window->CurrentItem()->fields.subject == subject;
        });
    };
    if (!result.done || !workbench::PumpUntil(found, kLimit)) {
        throw std::runtime_error(fmt::format("no appointment for the client's notification {} the attack", when));
    }
    session_.CloseInspectors(); // unsaved, so that the client gets a command too
    const auto isCommand = [&](const meeting_client::TranscriptEntry& entry) {
        watchdog_.Beat();
        return entry.kind == "message" && entry.direction == "in" && entry.bytes.find(id) != std::string::npos;
    };
    if (!client_->WaitForEntry(isCommand, std::chrono::milliseconds(kLimit))) {
        throw std::runtime_error(fmt::format("no command reaches the client {} the attack", when));
    }
    Say("the client's notification has made an appointment and its command has come back ({})", when);
}

void Run::EndOutlook() {
    for (const workbench::ItemPtr& item : session_.Host().Items()) {
        itemBytes_ += SizeOf(*item);
    }
    if (const std::vector<std::string> left = session_.End(); !left.empty()) {
        throw std::runtime_error(fmt::format("{}", fmt::join(left, ", ")));
    }
    client_.reset();
}

void Run::TellProgress() const {
    Say("{:5} s  {} sent ({} MB), {} to the reader, {} of them read, {} appointments, {} KB kept", report_.Seconds(),
        board_->sent.load(), board_->bytes / kMegabyte, board_->complete.load(), board_->read.load(), appointments_,
        board_->keptBytes / 1024);
}

int Run::Judge(const Usage& before, const Usage& after) {
    const Board& board = *board_;
    const auto tell = [&](const std::string& what, std::uint64_t count) {
        report_.Row(what, fmt::format("{} ({:.2f} %)", count,
                                      100.0 * static_cast<double>(count) / static_cast<double>(board.sent)));
    };
    tell("sent", board.sent);
    tell("not WM_COPYDATA", board.other + board.closes);
    tell("not WM_COPYDATA: below WM_USER", board.system);
    tell("refused by the system", board.refused);
    tell("dropped by the channel's window", board.dropped);
    tell("segments kept", board.kept);
    tell("whole messages", board.whole);
    tell("messages joined from segments", board.joined);
    tell("to the reader, of both", board.complete);
    for (const auto& [verdict, count] : log_.Verdicts()) {
        tell(verdict, count);
    }
    report_.Row("bytes", board.bytes.load());
    report_.Row("bytes of unfinished parts, at most", board.mostKept.load());
    report_.Row("bytes of unfinished parts, at the end", board.keptBytes.load());
    report_.Row("appointments opened", appointments_);
    report_.Row("dialogs answered", session_.Dialogs());
    report_.Row("channel's window closed", board.closes.load());
    report_.Row("all heaps checked, without damage", heapChecks_);
    report_.Row("freed blocks checked, without damage", WatchedFrees());
    report_.Row("before", Describe(before));
    report_.Row("after", Describe(after));
    if (WatchedFrees() < board.complete) {
        report_.Violation("the add-in gives its blocks back on another way than the one that is watched");
    }
    Usage known{};
    known[kHeapBytes] = 2 * static_cast<std::size_t>(board.keptBytes) + itemBytes_; // the parts grow by doubling
    if (const std::string grown = Growth(before, after, kSlack, known); !grown.empty()) {
        report_.Violation("leak: " + grown);
    }
    return report_.Tell();
}

} // namespace

int RunHostile(const HostileOptions& options) {
    if (!options.board.empty()) {
        return RunSender(options);
    }
    if (options.selfTest) {
        return TestHeapChecks();
    }
    if ((GlobalFlags() & kHeapFlags) != kHeapFlags) {
        throw std::runtime_error("the system does not check this program's heaps; scripts/hostile has it do so");
    }
    Say("seed {}, {} messages", options.seed, options.messages);
    ReportCrashes();
    return Run(options).Play();
}

} // namespace verify
