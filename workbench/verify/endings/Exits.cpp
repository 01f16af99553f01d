#include "workbench/verify/endings/Endings.h"

#include "workbench/verify/core/LogTail.h"
#include "workbench/verify/endings/ExitPlan.h"
#include "workbench/verify/endings/Lines.h"

#include "workbench/client/ClientProcess.h"

#include <algorithm>
#include <map>
#include <memory>
#include <stdexcept>

namespace verify {
namespace {

constexpr DWORD kConnectLimit = 60'000; // ms
constexpr DWORD kEndLimit = 30'000;     // ms from the moment of the end
constexpr std::chrono::seconds kMessageLimit{30};
constexpr DWORD kFirstFault = 0xC0000000;  // exit codes of crashes
constexpr const char* kHang = "hang 1500"; // ms
constexpr const char* kBulk = "bulk 300 400 1";

std::string NotificationOf(std::uint64_t number) {
    return fmt::format(R"(notify {{"notify":900,"message":"n{}"}})", number);
}

/// All the exits, with one client that outlives them.
class Series {
public:
    Series(const EndingOptions& options, Report& report) : options_(options), report_(report) {}

    void Play();
    void Tell() const;

private:
    struct Result {
        std::uint64_t count = 0;
        std::uint64_t withClient = 0;
        DWORD longest = 0; // ms until the process was gone
    };

    void PlayOne(std::uint64_t number);
    void PrepareClient(const ExitPlan& plan);
    bool Greet(std::uint64_t number);
    void AwaitEnd(const ExitPlan& plan, process::ChildProcess& process);
    void CheckLog(const ExitPlan& plan);
    void CheckClient(const ExitPlan& plan);
    void Violation(const ExitPlan& plan, const std::string& what) { report_.Violation(plan.Text() + ": " + what); }

    const EndingOptions& options_;
    Report& report_;
    std::unique_ptr<meeting_client::ClientProcess> client_;
    bool shown_ = true;
    std::map<Ending, Result> results_;
    std::uint64_t entries_ = 0;
    std::uint64_t torn_ = 0;
    std::uint64_t greeted_ = 0;
};

void Series::Play() {
    meeting_client::ClientSettings settings;
    settings.arguments = {L"--ignore", L"--max-seconds", L"36000"};
    client_ = std::make_unique<meeting_client::ClientProcess>(std::move(settings));
    for (std::uint64_t number = 0; number < options_.exits; ++number) {
        PlayOne(number);
        if ((number + 1) % 25 == 0) {
            Say("  {} exits", number + 1);
        }
    }
    if (!client_->Quit()) {
        report_.Violation("the client does not end in order after all exits");
    }
    DeleteLogs();
}

void Series::PlayOne(std::uint64_t number) {
    const ExitPlan plan(number, options_.seed);
    if (options_.verbose) {
        Say("  {}: {}", number, plan.Text());
    }
    DeleteLogs();
    PrepareClient(plan);
    const std::wstring connected = NewName();
    const std::wstring go = NewName();
    const UniqueHandle connectedEvent = SharedEvent(connected);
    const UniqueHandle goEvent = SharedEvent(go);
    process::ChildProcess process =
        StartEnding({L"exit", std::to_wstring(number), std::to_wstring(options_.seed), connected, go});
    const bool mayBeGone = plan.ending == Ending::ExitInCall; // while it connects, or at any time after that
    if (!process.WaitFor(connectedEvent.Get(), kConnectLimit) && !mayBeGone) {
        Violation(plan, "it does not connect");
    } else if (plan.client && !mayBeGone && !Greet(number)) {
        Violation(plan, "no message between the client and the next add-in");
    }
    if (plan.client) {
        client_->Order(plan.ending == Ending::ExitWhileSending ? kHang : kBulk);
    }
    ::SetEvent(goEvent.Get());
    AwaitEnd(plan, process);
    CheckLog(plan);
    CheckClient(plan);
}

void Series::PrepareClient(const ExitPlan& plan) {
    if (shown_ != plan.client) {
        client_->Order(plan.client ? "show" : "hide");
        shown_ = plan.client;
    }
}

/// A command reaches the client, and a notification the add-in. @return false when one of them does not.
bool Series::Greet(std::uint64_t number) {
    const std::size_t before = greeted_;
    if (!client_->WaitUntil([&] { return client_->Messages().size() > before; }, kMessageLimit)) {
        return false;
    }
    client_->Order(NotificationOf(number));
    const std::string mark = "\"n" + std::to_string(number) + "\"";
    return client_->WaitUntil([&] { return ReadFrom(AddinLogFile(), 0).find(mark) != std::string::npos; },
                              kMessageLimit);
}

void Series::AwaitEnd(const ExitPlan& plan, process::ChildProcess& process) {
    const ULONGLONG begin = ::GetTickCount64();
    if (plan.FromOutside()) {
        ::Sleep(plan.delay);
        process.Terminate(plan.code);
    }
    const auto code = process.WaitForEnd(kEndLimit + plan.delay);
    const auto took = static_cast<DWORD>(::GetTickCount64() - begin);
    Result& result = results_[plan.ending];
    ++result.count;
    result.withClient += plan.client ? 1 : 0;
    const DWORD wait = plan.ending == Ending::ExitInCall ? 0 : plan.delay;
    result.longest = std::max(result.longest, took > wait ? took - wait : 0);
    if (!code) {
        Violation(plan, "hang: it does not end");
    } else if (*code != plan.code) {
        Violation(plan, fmt::format("{}exit code 0x{:x} instead of 0x{:x}", *code >= kFirstFault ? "crash: " : "",
                                    *code, plan.code));
    }
}

void Series::CheckLog(const ExitPlan& plan) {
    LineChecker checker;
    checker.Take(ReadFrom(AddinLogFile(), 0));
    entries_ += checker.Entries();
    torn_ += checker.TornCount();
    for (const std::string& line : checker.Torn()) {
        Violation(plan, "torn: " + line);
    }
    if (checker.Entries() == 0) {
        Violation(plan, "an empty log");
    }
    for (const auto& [mark, account] : checker.Writers()) {
        if (account.duplicated + account.disordered + account.lostInside + account.first != 0) {
            Violation(plan, "numbered lines of thread " + mark + " are lost, doubled or out of order");
        }
    }
}

void Series::CheckClient(const ExitPlan& plan) {
    if (!client_->IsRunning() || !client_->Order("status", std::chrono::seconds(30)).done) {
        throw std::runtime_error(plan.Text() + ": the client has not survived it");
    }
    greeted_ = client_->Messages().size();
}

void Series::Tell() const {
    for (const auto& [ending, result] : results_) {
        report_.Row(NameOf(ending), fmt::format("{} ({} with client), gone at most {} ms after the moment",
                                                result.count, result.withClient, result.longest));
    }
    report_.Row("log entries of these processes", fmt::format("{} whole, {} torn", entries_, torn_));
    report_.Row("commands that the client got from them", greeted_);
}

} // namespace

void RunExits(const EndingOptions& options, Report& report) {
    Series series(options, report);
    series.Play();
    series.Tell();
}

} // namespace verify
