#include "workbench/hostile/Run.h"

#include "workbench/hostile/FastClock.h"

#include "workbench/gauges/HeapCheck.h"
#include "workbench/host/Pump.h"
#include "workbench/process/OwnProgram.h"

#include "resources/Connect.h"
#include "support/Text.h"
#include "tests/fakes/AddInModule.h"

#include <cstdarg>
#include <cstdio>
#include <stdexcept>

namespace hostile {
namespace {

// Generous: a machine with too much to do is no fault of the add-in.
constexpr unsigned kLimit = 120'000;          // ms for anything that the add-in should do
constexpr unsigned kSlice = 20;               // ms
constexpr ULONGLONG kProgress = 3'000;        // ms between two lines
constexpr ULONGLONG kSilence = 150'000;       // ms without any message sent
constexpr std::uint64_t kSentPerCheck = 1000; // of the heaps
constexpr std::size_t kAnswers = 4096;        // of one responder
constexpr std::size_t kMegabyte = 1024 * 1024;
// The memory that the run may use besides the parts that the channel keeps: the stand-in Outlook keeps all its items,
// and a heap's blocks grow with its use. This is far less than the bytes sent in a run of a million messages.
constexpr std::size_t kBytesOfItem = 4096; // without its texts
constexpr std::size_t kAllowance = 16 * kMegabyte;
constexpr DWORD kMostHandles = 16; // that the system keeps for later

/// Of its texts now and as they were saved last.
std::size_t SizeOf(const workbench::Item& item) {
    const workbench::ItemFields& fields = item.fields;
    std::size_t characters = 0;
    for (const std::wstring* text : {&fields.subject, &fields.body, &fields.location, &fields.comment}) {
        characters += text->capacity();
    }
    return kBytesOfItem + 2 * characters * sizeof(wchar_t);
}

} // namespace

Run::Run(const RunOptions& options, gauges::Watchdog& watchdog)
    : options_(options),
      boardName_(L"NembraHostile" + std::to_wstring(::GetCurrentProcessId())),
      board_(boardName_, true),
      watchdog_(watchdog),
      started_(::GetTickCount64()) {
    watchdog_.Beat();
}

void Run::Say(const char* format, ...) const {
    std::printf("%7.1f s  ", static_cast<double>(::GetTickCount64() - started_) / 1000);
    va_list arguments;
    va_start(arguments, format);
    std::vprintf(format, arguments);
    va_end(arguments);
    std::printf("\n");
    std::fflush(stdout);
}

bool Run::Play() {
    StartOutlook();
    CheckService("before");
    log_.Read();
    verdictsBefore_ = log_.Verdicts();
    before_ = gauges::MeasureUsage();
    StartSender();
    FollowSender();
    AwaitReader();
    TellProgress();
    CheckService("after");
    gauges::ReleaseFreed();
    after_ = gauges::MeasureUsage();
    CheckHeaps();
    EndOutlook();
    gauges::ReleaseFreed();
    CheckHeaps();
    return Judge();
}

void Run::StartOutlook() {
    host_ = std::make_unique<workbench::OutlookHost>();
    host_->AddStore(L"Mailbox");
    host_->OpenExplorer(L"Calendar");
    addIn_ = &host_->LoadAddIn(AddInModulePath(), CLSID_NembraMeeting);
    if (addIn_->LoadStatus() != S_OK) {
        throw std::runtime_error("OutlookAddIn.dll could not be loaded; build it first");
    }
    // Before its threads start: they may keep the address of what they call.
    if (!gauges::WatchFrees(addIn_->Module()) || !QuickenClock(addIn_->Module())) {
        throw std::runtime_error("the add-in does not import what this program replaces");
    }
    if (addIn_->Connect() != S_OK) {
        throw std::runtime_error("the add-in does not connect");
    }
    const workbench::ItemPtr stored = host_->NewAppointment();
    stored->Save();
    std::snprintf(board_->entryId, sizeof board_->entryId, "%s", ToUtf8(stored->EntryId()).c_str());
    meeting_client::ClientSettings settings;
    settings.startLimit = std::chrono::milliseconds(kLimit);
    settings.arguments = {L"--ignore", L"--max-seconds", L"36000"};
    settings.whileWaiting = [] { workbench::PumpFor(5); };
    client_.emplace(std::move(settings));
}

void Run::StartSender() {
    const std::vector<std::wstring> arguments = {L"--send", boardName_, std::to_wstring(options_.seed),
                                                 std::to_wstring(options_.messages),
                                                 std::to_wstring(::GetCurrentProcessId())};
    sender_.emplace(process::ProgramPath(), arguments, process::Streams::Own);
}

/// The main thread's work besides its messages.
void Run::Look() {
    watchdog_.Beat();
    log_.Read();
    verdicts_ = log_.Verdicts().Since(verdictsBefore_);
    board_->read = verdicts_.Taken();
    CloseInspectors();
    host_->ResetCalls();
    RenewResponder();
    if (board_->sent - sentAtCheck_ >= kSentPerCheck) {
        CheckHeaps();
    }
}

void Run::CheckHeaps() {
    sentAtCheck_ = board_->sent;
    ++heapChecks_;
    if (!gauges::HeapsAreSound() || gauges::DamagedFrees() != 0) {
        throw std::runtime_error("a heap is damaged, found after message " + std::to_string(sentAtCheck_));
    }
}

/// Somebody answers the dialogs that a forged notification brings up.
void Run::RenewResponder() {
    constexpr int kCloseBox = 2;
    if (responder_ && responder_->Seen().size() < kAnswers / 2) {
        return;
    }
    dialogs_ += responder_ ? responder_->Seen().size() : 0;
    responder_.reset();
    responder_ = std::make_unique<workbench::DialogResponder>(std::vector<int>(kAnswers, kCloseBox));
}

/// Discards what forged notifications have opened; the add-in tells the client so.
void Run::CloseInspectors() {
    while (!host_->Inspectors().empty()) {
        ++appointments_;
        host_->Inspectors().front()->CloseWithoutAsking();
    }
}

void Run::FollowSender() {
    std::uint64_t seen = 0;
    ULONGLONG lastSent = ::GetTickCount64();
    ULONGLONG told = lastSent;
    while (sender_->Running()) {
        workbench::PumpFor(kSlice);
        Look();
        const ULONGLONG now = ::GetTickCount64();
        if (const std::uint64_t sent = board_->sent; sent != seen) {
            seen = sent;
            lastSent = now;
        } else if (now - lastSent > kSilence) {
            throw std::runtime_error("the sender gets nothing through any more");
        }
        if (now - told >= kProgress) {
            told = now;
            TellProgress();
        }
    }
    const std::optional<DWORD> code = sender_->WaitForEnd(0);
    sender_.reset(); // before the handles are counted
    if (code != 0U || board_->sent != options_.messages) {
        const std::string reason = board_->failure;
        throw std::runtime_error("the sender has ended early: " + (reason.empty() ? "no reason given" : reason));
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
        throw std::runtime_error("of " + std::to_string(board_->complete) + " complete messages " +
                                 std::to_string(board_->read) + " came out of the channel");
    }
    dialogs_ += responder_->Seen().size();
    responder_.reset();
}

void Run::CheckService(const char* when) {
    const std::string id = "honest " + std::to_string(++services_);
    const std::wstring subject = ToWide(id);
    const auto result = client_->Order(R"(notify {"notify":101,"confId":")" + id + R"(","subject":")" + id +
                                           R"(","startTime":1767260400,"endTime":1767264000})",
                                       std::chrono::milliseconds(kLimit));
    const auto found = [&] {
        watchdog_.Beat();
        for (const workbench::InspectorPtr& inspector : host_->Inspectors()) {
            if (inspector->CurrentItem()->fields.subject == subject) {
                return true;
            }
        }
        return false;
    };
    if (!result.done || !workbench::PumpUntil(found, kLimit)) {
        throw std::runtime_error(std::string("no appointment for the client's own notification ") + when +
                                 " the attack");
    }
    // Closed unsaved, so that the client gets a command too.
    while (!host_->Inspectors().empty()) {
        host_->Inspectors().front()->CloseWithoutAsking();
    }
    const auto isCommand = [&](const meeting_client::TranscriptEntry& entry) {
        watchdog_.Beat();
        return entry.kind == "message" && entry.direction == "in" && entry.bytes.find(id) != std::string::npos;
    };
    if (!client_->WaitForEntry(isCommand, std::chrono::milliseconds(kLimit))) {
        throw std::runtime_error(std::string("no command reaches the client ") + when + " the attack");
    }
    Say("the client's notification has made an appointment and its command has come back (%s)", when);
}

void Run::EndOutlook() {
    for (const workbench::ItemPtr& item : host_->Items()) {
        itemBytes_ += SizeOf(*item);
    }
    if (addIn_->Exit() != 0 || !host_->AdvisedSinks().empty()) {
        throw std::runtime_error("references or sinks are left on the add-in");
    }
    host_->Shutdown();
    if (!host_->Objects().Outstanding().empty() || host_->WrongThreadCalls() != 0) {
        throw std::runtime_error("the add-in still holds objects of Outlook, or called on another thread");
    }
    client_.reset();
}

void Run::TellProgress() const {
    const std::uint64_t sent = board_->sent;
    Say("%llu sent (%llu MB), %llu to the reader, %llu of them read, %llu appointments, %llu KB kept",
        static_cast<unsigned long long>(sent), static_cast<unsigned long long>(board_->bytes / kMegabyte),
        static_cast<unsigned long long>(board_->complete), static_cast<unsigned long long>(board_->read),
        static_cast<unsigned long long>(appointments_), static_cast<unsigned long long>(board_->keptBytes / 1024));
}

void Run::TellTable() const {
    const Board& board = *board_;
    const auto tell = [&](const char* what, std::uint64_t count) {
        std::printf("  %-46s %9llu  %6.2f %%\n", what, static_cast<unsigned long long>(count),
                    100.0 * static_cast<double>(count) / static_cast<double>(board.sent));
    };
    std::printf("\n");
    tell("sent", board.sent);
    tell("not WM_COPYDATA", board.other + board.closes);
    tell("  below WM_USER", board.system);
    tell("refused by the system", board.refused);
    tell("dropped by the channel's window", board.dropped);
    tell("segments kept", board.kept);
    tell("whole messages", board.whole);
    tell("messages joined from segments", board.joined);
    tell("to the reader, of both", board.complete);
    tell("  refused: no JSON", verdicts_.noJson);
    tell("  refused: JSON, but no notification", verdicts_.noNotification);
    tell("  accepted: 101", verdicts_.scheduled);
    tell("  accepted: 102", verdicts_.modified);
    tell("  accepted: 103", verdicts_.cancelled);
    tell("  accepted: 200", verdicts_.changed);
    tell("  accepted: of another type", verdicts_.otherType);
    const auto number = [](std::uint64_t value) { return static_cast<unsigned long long>(value); };
    std::printf("  %llu bytes; unfinished parts: at most %llu bytes at a time, %llu at the end\n", number(board.bytes),
                number(board.mostKept), number(board.keptBytes));
    std::printf("  appointments opened %llu, dialogs answered %llu, channel's window closed %llu times\n",
                number(appointments_), number(dialogs_), number(board.closes));
    std::printf("  no damage: all heaps %llu times, and %llu blocks of the add-in when it gave them back\n",
                number(heapChecks_), number(gauges::WatchedFrees()));
}

bool Run::Judge() {
    TellTable();
    for (const auto& [label, usage] : {std::pair{"before", before_}, std::pair{"after ", after_}}) {
        std::printf("  %s: %s\n", label, Describe(usage).c_str());
    }
    if (gauges::WatchedFrees() < board_->complete) {
        std::printf("FAILED: the add-in gives its blocks back on another way than the one that is watched\n");
        return false;
    }
    if (after_.handles > before_.handles + kMostHandles || after_.windows > before_.windows) {
        std::printf("FAILED: handles or windows are left\n");
        return false;
    }
    // The parts grow by doubling.
    const std::size_t explained = 2 * static_cast<std::size_t>(board_->keptBytes) + itemBytes_ + kAllowance;
    if (after_.heapBytes > before_.heapBytes + explained) {
        std::printf("FAILED: the heaps hold more than the %zu KiB that kept parts and items explain\n",
                    explained / 1024);
        return false;
    }
    std::printf("the add-in stood it\n");
    std::fflush(stdout);
    return true;
}

} // namespace hostile
