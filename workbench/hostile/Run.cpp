#include "workbench/hostile/Run.h"

#include "workbench/client/CommandLine.h"
#include "workbench/host/Pump.h"

#include "resources/Connect.h"
#include "support/Text.h"
#include "tests/fakes/AddInModule.h"

#include <cstdarg>
#include <cstdio>
#include <stdexcept>

namespace hostile {

std::atomic<ULONGLONG> g_lastSign{0};

namespace {

constexpr unsigned kLimit = 30'000;    // ms for anything that the add-in should do
constexpr unsigned kSlice = 20;        // ms
constexpr ULONGLONG kProgress = 3'000; // ms between two lines
constexpr ULONGLONG kSilence = 60'000; // ms without any message sent
constexpr std::size_t kMegabyte = 1024 * 1024;
// What the run may cost besides the parts that the channel keeps: the stand-in Outlook keeps every item it ever had,
// and a heap's blocks grow with its use. Far less than what is sent in a run of a million.
constexpr std::size_t kAllowance = 48 * kMegabyte;

std::wstring Program() {
    wchar_t path[MAX_PATH] = L"";
    ::GetModuleFileNameW(nullptr, path, MAX_PATH);
    return path;
}

UniqueHandle MakeKillingJob() {
    UniqueHandle job(::CreateJobObjectW(nullptr, nullptr));
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
    ::SetInformationJobObject(job.Get(), JobObjectExtendedLimitInformation, &limits, sizeof limits);
    return job;
}

void Beat() {
    g_lastSign = ::GetTickCount64();
}

} // namespace

Run::Run(const RunOptions& options)
    : options_(options),
      boardName_(L"NembraHostile" + std::to_wstring(::GetCurrentProcessId())),
      board_(boardName_, true),
      job_(MakeKillingJob()),
      started_(::GetTickCount64()) {
    Beat();
}

Run::~Run() {
    if (sender_) {
        ::TerminateProcess(sender_.Get(), 1);
    }
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
    readBefore_ = log_.Taken();
    before_ = gauges::MeasureUsage();
    StartSender();
    FollowSender();
    AwaitReader();
    TellProgress();
    CheckService("after");
    after_ = gauges::MeasureUsage();
    EndOutlook();
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
    if (addIn_->Connect() != S_OK) {
        throw std::runtime_error("the add-in does not connect");
    }
    meeting_client::ClientSettings settings;
    settings.arguments = {L"--ignore", L"--max-seconds", L"36000"};
    settings.whileWaiting = [] { workbench::PumpFor(5); };
    client_.emplace(std::move(settings));
}

void Run::StartSender() {
    const std::wstring program = Program();
    std::wstring line = meeting_client::JoinCommandLine(program, {L"--send", boardName_, std::to_wstring(options_.seed),
                                                                  std::to_wstring(options_.messages),
                                                                  std::to_wstring(::GetCurrentProcessId())});
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION made{};
    if (!::CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, FALSE, CREATE_SUSPENDED, nullptr, nullptr,
                          &startup, &made)) {
        throw std::runtime_error("the sender could not be started");
    }
    sender_.Reset(made.hProcess);
    const UniqueHandle thread(made.hThread);
    ::AssignProcessToJobObject(job_.Get(), sender_.Get());
    ::ResumeThread(thread.Get());
}

/// What the main thread does besides handling its messages.
void Run::Look() {
    Beat();
    log_.Read();
    board_->read = log_.Taken() - readBefore_;
    CloseInspectors();
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
    while (::WaitForSingleObject(sender_.Get(), 0) == WAIT_TIMEOUT) {
        workbench::PumpFor(kSlice);
        Look();
        const ULONGLONG now = ::GetTickCount64();
        if (const std::uint64_t sent = board_->sent; sent != seen) {
            seen = sent;
            lastSent = now;
        } else if (now - lastSent > kSilence) {
            throw std::runtime_error("the sender got nothing through for a minute");
        }
        if (now - told >= kProgress) {
            told = now;
            TellProgress();
        }
    }
    DWORD code = 1;
    ::GetExitCodeProcess(sender_.Get(), &code);
    if (code != 0 || board_->sent != options_.messages) {
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
    refusedByReader_ = log_.Refused(); // the client sends nothing that is refused
}

void Run::CheckService(const char* when) {
    const std::wstring subject = L"Honest meeting " + std::to_wstring(++services_);
    const auto result = client_->Order(R"(notify {"notify":101,"confId":"7","subject":")" + ToUtf8(subject) +
                                       R"(","startTime":1767260400,"endTime":1767264000})");
    const auto found = [&] {
        Beat();
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
    const std::size_t commands = client_->Messages().size();
    while (!host_->Inspectors().empty()) {
        host_->Inspectors().front()->CloseWithoutAsking();
    }
    const auto got = [&] {
        Beat();
        return client_->Messages().size() > commands;
    };
    if (!workbench::PumpUntil(got, kLimit)) {
        throw std::runtime_error(std::string("no command reaches the client ") + when + " the attack");
    }
    Say("the client's notification has made an appointment and its command has come back (%s)", when);
}

void Run::EndOutlook() {
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

bool Run::Judge() {
    const Board& board = *board_;
    const auto number = [](const std::atomic<std::uint64_t>& value) {
        return static_cast<unsigned long long>(value.load());
    };
    const double share = 100.0 * static_cast<double>(board.complete) / static_cast<double>(board.sent);
    std::printf("\nsent              %llu, %llu bytes\n", number(board.sent), number(board.bytes));
    std::printf("  dropped         %llu by the window\n", number(board.dropped));
    std::printf("  kept            %llu segments; at most %llu bytes at a time, at the end %llu\n", number(board.kept),
                number(board.mostKept), number(board.keptBytes));
    std::printf("  read            %llu whole or joined messages, %.2f %%: %llu refused by the JSON reader or no "
                "notification, %llu accepted\n",
                number(board.complete), share, static_cast<unsigned long long>(refusedByReader_),
                number(board.complete) - static_cast<unsigned long long>(refusedByReader_));
    std::printf("  other messages  %llu, and the channel's window closed %llu times\n", number(board.other),
                number(board.closes));
    std::printf("  refused         %llu by the system\n", number(board.refused));
    for (const auto& [label, usage] : {std::pair{"before", before_}, std::pair{"after ", after_}}) {
        std::printf("memory %s     private %zu KiB, heaps %zu KiB in %zu blocks\n", label, usage.privateBytes / 1024,
                    usage.heapBytes / 1024, usage.heapBlocks);
    }
    // The kept parts grow by doubling.
    const std::size_t allowed = before_.heapBytes + 2 * static_cast<std::size_t>(board.keptBytes) + kAllowance;
    if (after_.heapBytes > allowed) {
        std::printf("FAILED: the heaps hold more than the %zu KiB that the kept parts explain\n", allowed / 1024);
        return false;
    }
    std::printf("the add-in stood it\n");
    return true;
}

} // namespace hostile
