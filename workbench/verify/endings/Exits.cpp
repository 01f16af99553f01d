#include "workbench/verify/endings/Endings.h"

#include "workbench/verify/core/LogTail.h"
#include "workbench/verify/endings/Lines.h"
#include "workbench/verify/scenes/Actions.h"

#include "workbench/client/ClientProcess.h"
#include "workbench/host/Pump.h"

#include "support/Text.h"

#include <algorithm>
#include <random>
#include <stdexcept>
#include <thread>

namespace verify {
namespace {

constexpr DWORD kConnectLimit = 60'000; // ms
constexpr DWORD kTrafficLimit = 60'000; // ms; the end from elsewhere comes long before
constexpr DWORD kEndLimit = 30'000;     // ms from the moment of the end
constexpr std::chrono::seconds kMessageLimit{30};
constexpr DWORD kFirstFault = 0xC0000000; // exit codes of crashes
constexpr unsigned kLoggingThreads = 2;
constexpr std::size_t kMostInspectors = 4;

/// Where a process ends: when its time is up, or elsewhere.
enum class Place { MainThread, Dialog, HostCall, SecondThread, Outside };

struct Ending {
    const char* name;
    Place place = Place::MainThread;
    bool disconnects = false; // first
    bool returns = false;     // from main; else it is ExitProcess
    bool logs = false;        // other threads write into the log meanwhile
    bool sends = false;       // to a client that hangs
};

constexpr Ending kEndings[] = {
    {.name = "ExitProcess on the main thread"},
    {.name = "return from main", .returns = true},
    {.name = "TerminateProcess from outside", .place = Place::Outside},
    {.name = "ExitProcess while a dialog is open", .place = Place::Dialog},
    {.name = "ExitProcess while a command goes to a hanging client", .sends = true},
    {.name = "ExitProcess in the middle of log writes", .logs = true},
    {.name = "TerminateProcess in the middle of log writes", .place = Place::Outside, .logs = true},
    {.name = "ExitProcess on a second thread", .place = Place::SecondThread},
    {.name = "ExitProcess inside a call to the host", .place = Place::HostCall},
    {.name = "return from main after OnDisconnection, without FreeLibrary", .disconnects = true, .returns = true},
    {.name = "ExitProcess right after OnDisconnection", .disconnects = true},
};

/// How process number `number` of that seed ends; the endings come in turn. Both processes work it out.
struct Plan {
    Plan(std::uint64_t number, std::uint64_t seed)
        : random(seed ^ (number + 1) * 0x9E3779B97F4A7C15), ending(kEndings[number % std::size(kEndings)]) {
        // The dialog says that the client is being started.
        client = ending.sends || (ending.place != Place::Dialog && random() % 2 == 0);
        delay = static_cast<unsigned>(ending.place == Place::HostCall ? 1 + random() % 120
                                      : ending.sends                  ? 80 + random() % 250
                                                                      : random() % 250);
        code = static_cast<unsigned>(20 + random() % 200);
    }
    std::string Text() const {
        return fmt::format("{}, {}, moment {}, code {}", ending.name, client ? "client there" : "no client", delay,
                           code);
    }

    std::mt19937_64 random;
    const Ending& ending;
    bool client;    // it is there
    unsigned delay; // ms of traffic before the end, a few ticks when it sends; or the number of the call to the host
    unsigned code;  // exit code
};

/// Outlook with the add-in. Never destroyed: most endings leave no time for it, and the others must not depend on it.
class Victim {
public:
    Victim(std::uint64_t number, std::uint64_t seed) : plan_(number, seed) {}

    void Connect() {
        session_.observer = [this](const workbench::Step& step) {
            calls_ += step.kind == workbench::StepKind::Call ? 1 : 0;
            if (plan_.ending.place == Place::HostCall && calls_ == plan_.delay) {
                Exit();
            }
        };
        session_.whileDialogIsOpen = [this] {
            if (acting_ && plan_.ending.place == Place::Dialog) {
                Exit();
            }
        };
        constexpr int kCloseBox = 2, kLater = 5;
        session_.AnswerDialogs([close = true]() mutable {
            close = !close;
            return close ? kLater : kCloseBox;
        });
        workbench::HostOptions options;
        options.language = plan_.random() % 2 == 0 ? 1033 : 2052;
        session_.Connect(options);
        if (plan_.client) { // the driver waits for this command
            player_.Press(workbench::Surface::Explorer, L"StartVideoMeetingCalendar");
        }
    }

    int Play() {
        const Ending& ending = plan_.ending;
        for (char mark = 'A'; ending.logs && mark < 'A' + static_cast<char>(kLoggingThreads); ++mark) {
            std::thread([object = session_.AddIn().Object(), mark] {
                WriteNumbered(object, std::string(1, mark), UINT64_MAX);
            }).detach();
        }
        if (ending.place == Place::SecondThread) {
            std::thread([this] {
                ::Sleep(plan_.delay);
                Exit();
            }).detach();
        }
        ActFor(ending.place == Place::MainThread ? plan_.delay : kTrafficLimit);
        if (ending.place != Place::MainThread) {
            Say("the moment of the end does not come");
            return kViolations;
        }
        if (ending.disconnects) {
            if (const std::vector<std::string> left = session_.End(); !left.empty()) {
                Say("{}", left.front());
                return kViolations;
            }
        }
        if (!ending.returns) {
            Exit();
        }
        return static_cast<int>(plan_.code);
    }

private:
    [[noreturn]] void Exit() const { ::ExitProcess(plan_.code); }
    /// Half of it are presses, as they send and ask; the rest is anything that happens in Outlook.
    void ActFor(DWORD milliseconds) {
        acting_ = true;
        const ULONGLONG end = ::GetTickCount64() + milliseconds;
        while (::GetTickCount64() < end) {
            const Draw draw{plan_.random(), plan_.random(), plan_.random(), plan_.random()};
            if (draw.kind % 2 == 0) {
                constexpr const wchar_t* kButtons[] = {L"StartVideoMeetingCalendar", L"StartAudioMeetingMail",
                                                       L"BookMeetingMail"};
                player_.Press(workbench::Surface::Explorer, kButtons[draw.a % std::size(kButtons)]);
            } else {
                std::uint64_t choice = draw.kind / 2 % Weight(HostActions());
                Choose(HostActions(), choice)->play(player_, draw);
            }
            session_.CloseInspectors(kMostInspectors);
            workbench::PumpFor(static_cast<unsigned>(plan_.random() % 12));
        }
    }

    Plan plan_;
    Session session_;
    Player player_{session_};
    unsigned calls_ = 0;
    bool acting_ = false;
};

/// All the exits, with one client that outlives them.
class Series {
public:
    Series(const EndingOptions& options, Report& report) : options_(options), report_(report) {}

    void Play() {
        for (std::uint64_t number = 0; number < options_.exits; ++number) {
            PlayOne(number);
        }
        if (!client_.Quit()) {
            report_.Violation("the client does not end in order after all exits");
        }
        DeleteLogs();
        for (std::size_t i = 0; i < std::size(kEndings); ++i) {
            report_.Row(kEndings[i].name, fmt::format("{} ({} with client), gone at most {} ms after the moment",
                                                      results_[i].count, results_[i].withClient, results_[i].longest));
        }
        report_.Row("log entries of these processes", fmt::format("{} whole, {} torn", entries_, torn_));
        report_.Row("commands that the client got from them", greeted_);
    }

private:
    static meeting_client::ClientSettings Settings() {
        meeting_client::ClientSettings settings;
        settings.arguments = {L"--ignore", L"--max-seconds", L"36000"};
        return settings;
    }
    struct Result {
        std::uint64_t count = 0;
        std::uint64_t withClient = 0;
        DWORD longest = 0; // ms until the process was gone
    };

    void PlayOne(std::uint64_t number) {
        const Plan plan(number, options_.seed);
        if (options_.verbose || number % 25 == 24) {
            Say("  {}: {}", number, plan.Text());
        }
        DeleteLogs();
        client_.Order(plan.client ? "show" : "hide");
        EndingProcess child({L"exit", std::to_wstring(number), std::to_wstring(options_.seed)});
        const bool mayBeGone = plan.ending.place == Place::HostCall; // while it connects, or at any time after that
        if (!child.process.WaitFor(child.ready.Get(), kConnectLimit) && !mayBeGone) {
            Violation(plan, "it does not connect");
        } else if (plan.client && !mayBeGone && !Greet(number)) {
            Violation(plan, "no message between the client and the next add-in");
        }
        if (plan.client) {
            client_.Order(plan.ending.sends ? "hang 1500" : "bulk 300 400 1"); // ms; messages, bytes, ms
        }
        ::SetEvent(child.go.Get());
        AwaitEnd(plan, child.process);
        CheckLog(plan);
        if (!client_.IsRunning() || !client_.Order("status", kMessageLimit).done) {
            throw std::runtime_error(plan.Text() + ": the client has not survived it");
        }
        greeted_ = client_.Messages().size();
    }

    /// A command reaches the client, and a notification the add-in. @return false when one of them does not.
    bool Greet(std::uint64_t number) {
        if (!client_.WaitUntil([&] { return client_.Messages().size() > greeted_; }, kMessageLimit)) {
            return false;
        }
        const std::string mark = fmt::format("\"n{}\"", number);
        client_.Order(fmt::format(R"(notify {{"notify":900,"message":{}}})", mark));
        return client_.WaitUntil([&] { return ReadFrom(AddinLogFile(), 0).find(mark) != std::string::npos; },
                                 kMessageLimit);
    }

    void AwaitEnd(const Plan& plan, process::ChildProcess& process) {
        const ULONGLONG begin = ::GetTickCount64();
        if (plan.ending.place == Place::Outside) {
            ::Sleep(plan.delay);
            process.Terminate(plan.code);
        }
        const auto code = process.WaitForEnd(kEndLimit + plan.delay);
        const auto took = static_cast<DWORD>(::GetTickCount64() - begin);
        Result& result = results_[&plan.ending - kEndings];
        ++result.count;
        result.withClient += plan.client ? 1 : 0;
        const DWORD wait = plan.ending.place == Place::HostCall ? 0 : plan.delay;
        result.longest = std::max(result.longest, took > wait ? took - wait : 0);
        if (!code) {
            Violation(plan, "hang: it does not end");
        } else if (*code != plan.code) {
            Violation(plan, fmt::format("{}exit code 0x{:x} instead of 0x{:x}", *code >= kFirstFault ? "crash: " : "",
                                        *code, plan.code));
        }
    }

    void CheckLog(const Plan& plan) {
        LogAccount log;
        log.Take(ReadFrom(AddinLogFile(), 0));
        entries_ += log.entries;
        torn_ += log.torn.size();
        for (const std::string& line : log.torn) {
            Violation(plan, "torn: " + line);
        }
        if (log.entries == 0) {
            Violation(plan, "an empty log");
        }
        for (const auto& [mark, writer] : log.writers) {
            if (writer.disordered + writer.lostInside + writer.first != 0) {
                Violation(plan, "numbered lines of thread " + mark + " are lost, doubled or out of order");
            }
        }
    }

    void Violation(const Plan& plan, const std::string& what) { report_.Violation(plan.Text() + ": " + what); }

    const EndingOptions& options_;
    Report& report_;
    meeting_client::ClientProcess client_{Settings()};
    Result results_[std::size(kEndings)];
    std::uint64_t entries_ = 0;
    std::uint64_t torn_ = 0;
    std::size_t greeted_ = 0;
};

} // namespace

void RunExits(const EndingOptions& options, Report& report) {
    Series(options, report).Play();
}

int PlayExit(const std::vector<std::string>& words) {
    auto* victim = new Victim(std::stoull(words.at(0)), std::stoull(words.at(1)));
    victim->Connect();
    AwaitGo(words);
    return victim->Play();
}

} // namespace verify
