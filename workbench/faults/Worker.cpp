#include "workbench/faults/Worker.h"

#include "workbench/faults/Addresses.h"
#include "workbench/faults/Blocks.h"
#include "workbench/faults/Hooks.h"
#include "workbench/faults/Injector.h"
#include "workbench/process/OwnProgram.h"
#include "workbench/gauges/Usage.h"

#include <windows.h>
#include <comdef.h>

#include <algorithm>
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <exception>
#include <thread>

namespace faults {
namespace {

constexpr int kCleanRuns = 3;         // the first ones leave behind what is made once
constexpr int kLooks = 5;             // at what is held, before it counts as a leak
constexpr int kMeasuredRuns = 5;      // clean ones too, which tell what the system itself keeps of each run
constexpr DWORD kGrownHandles = 8;    // over a whole scene; the system's own threads come and go
constexpr DWORD kGrownGraphics = 128; // the system's cache; the module's own bitmaps are counted one by one

std::atomic<ULONGLONG> g_lastSign{0};
ULONGLONG g_mostSilence = 0; // ms for one point
HANDLE g_player = nullptr;   // the thread that plays

void Tell(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    std::vprintf(format, arguments);
    va_end(arguments);
    std::fputc('\n', stdout);
    std::fflush(stdout);
}

/// Straight to the system: the runtime's locks may be taken by whoever failed.
[[noreturn]] void EndWith(ChildCode code, std::string line) {
    DWORD written = 0;
    if (const HookInfo* struck = Struck(); struck != nullptr && !line.empty()) {
        line.insert(0, std::string("failed ") + struck->name + "\n");
    }
    ::WriteFile(::GetStdHandle(STD_OUTPUT_HANDLE), line.data(), static_cast<DWORD>(line.size()), &written, nullptr);
    ::TerminateProcess(::GetCurrentProcess(), code);
    for (;;) {
        ::Sleep(1000);
    }
}

/// The last report of a thread that will not continue. The thread may have no stack left to print it itself.
struct LastWords {
    std::atomic<bool> spoken{false};
    ChildCode code = kChildCrashed;
    DWORD exception = 0;
    const char* function = nullptr;
    void* address = nullptr;
    HANDLE thread = nullptr;
};
LastWords g_lastWords;

/// Never returns; the watching thread reads the words and ends the process.
void SayAndWait(ChildCode code, DWORD exception, const char* function, void* address) noexcept {
    static std::atomic<bool> taken{false};
    if (!taken.exchange(true)) {
        g_lastWords.code = code;
        g_lastWords.exception = exception;
        g_lastWords.function = function;
        g_lastWords.address = address;
        ::DuplicateHandle(::GetCurrentProcess(), ::GetCurrentThread(), ::GetCurrentProcess(), &g_lastWords.thread, 0,
                          FALSE, DUPLICATE_SAME_ACCESS);
        g_lastWords.spoken = true;
    }
    ::Sleep(INFINITE);
}

void EndWithLastWords() {
    const std::string stack = DescribeStack(StackOfThread(g_lastWords.thread)) + "\n";
    if (g_lastWords.function != nullptr) {
        EndWith(g_lastWords.code,
                std::string("problem crash: the module calls ") + g_lastWords.function + " from" + stack);
    }
    char code[32];
    std::snprintf(code, sizeof code, "0x%08lx", g_lastWords.exception);
    EndWith(g_lastWords.code,
            std::string("problem crash: ") + code + " at" + DescribeStack({g_lastWords.address}) + " from" + stack);
}

void Watch() noexcept {
    for (;;) {
        ::Sleep(20);
        if (g_lastWords.spoken) {
            EndWithLastWords();
        }
        if (::GetTickCount64() - g_lastSign > g_mostSilence) {
            EndWith(kChildHangs, "problem hang: no answer in" + DescribeStack(StackOfThread(g_player)) + "\n");
        }
    }
}

/// Asked before any handler: the system passes a crash inside a window procedure over, as if nothing had been.
LONG WINAPI OnException(EXCEPTION_POINTERS* raised) noexcept {
    const EXCEPTION_RECORD& record = *raised->ExceptionRecord;
    if (!process::IsCrash(record.ExceptionCode)) {
        return EXCEPTION_CONTINUE_SEARCH;
    }
    SayAndWait(kChildCrashed, record.ExceptionCode, nullptr, record.ExceptionAddress);
    return EXCEPTION_CONTINUE_SEARCH;
}

void OnModuleAborts(const char* function) {
    SayAndWait(kChildAborted, 0, function, nullptr);
}

class Player {
public:
    Player(const Scene& scene, const Options& options) : scene_(scene), options_(options), module_(options.module) {
        if (scene.attached && !module_.Attach()) {
            throw std::runtime_error("the module does not attach");
        }
    }

    void PlayFresh();
    void PlayAll();

private:
    struct Outcome {
        Counts counts{};
        const HookInfo* struck = nullptr;
        bool degraded = false;
        std::vector<std::string> problems;
    };

    Outcome Run(const Order& order);
    bool StepSafely(Act& act, std::vector<std::string>& problems);
    void Report(const Outcome& outcome);
    void TellFound(const Counts& counts);
    void PlayRound(const Order& round, std::uint64_t from);
    bool PlayPoint(const Order& order);
    void JudgeHoldings(Outcome& outcome, std::size_t mark);
    void MeasureCleanRuns();
    void JudgeUsage();
    static void AwaitQuiet();

    const Scene& scene_;
    const Options& options_;
    StagedModule module_;
    Holdings baseline_;
    std::pair<Holdings, Holdings> usual_; // after the last two clean runs
    Counts found_{};
    gauges::Usage usageAtFirst_;
    gauges::Usage usageBefore_;
    std::uint64_t points_ = 0;
};

bool Player::StepSafely(Act& act, std::vector<std::string>& problems) {
    try {
        return act.Step();
    } catch (const _com_error& error) {
        problems.push_back("an exception left the module, or the host has one: " + std::to_string(error.Error()));
    } catch (const std::exception& error) {
        problems.push_back(std::string("an exception left the module: ") + error.what());
    } catch (...) {
        problems.push_back("an exception left the module");
    }
    return false;
}

Player::Outcome Player::Run(const Order& order) {
    Outcome outcome;
    const std::unique_ptr<Act> act = scene_.make(module_);
    act->Prepare();
    if (order.kind == Kind::Json) {
        act->Cut(order.number);
    }
    Arm(order);
    const bool worked = StepSafely(*act, outcome.problems);
    outcome.counts = Disarm();
    outcome.counts[static_cast<std::size_t>(Kind::Json)] = act->Cuts();
    outcome.struck = Struck();
    if (order.number == 0 && !worked) {
        outcome.problems.push_back("the scene has no effect although nothing failed");
    }
    act->Cut(0);
    act->Prepare();
    if (!StepSafely(*act, outcome.problems)) {
        outcome.problems.push_back("the unharmed repetition has no effect");
    }
    if (!act->Works()) {
        outcome.problems.push_back("the module does not do its work afterwards");
    }
    if (act->Degraded()) {
        outcome.degraded = true;
        Tell("degraded");
    }
    for (std::string& problem : act->End()) {
        outcome.problems.push_back(std::move(problem));
    }
    return outcome;
}

void Player::AwaitQuiet() {
    // A message that is under way in the channel has its memory.
    const std::uint64_t rounds = ChannelRounds();
    const ULONGLONG end = ::GetTickCount64() + 50;
    while (ChannelRounds() < rounds + 3 && ::GetTickCount64() < end) {
        ::Sleep(1);
    }
}

void Player::JudgeHoldings(Outcome& outcome, std::size_t mark) {
    Holdings now = TakeHoldings();
    for (int look = 0; look < kLooks && !GrowthOf(baseline_, now, usual_).empty(); ++look) {
        AwaitQuiet();
        now = TakeHoldings();
    }
    for (std::string& line : GrowthOf(baseline_, now, usual_)) {
        outcome.problems.push_back(std::move(line));
    }
    if (options_.stacks && !GrowthOf(baseline_, now, usual_).empty()) {
        for (std::string& line : BlocksSince(mark)) {
            outcome.problems.push_back("left: " + std::move(line));
        }
    }
    // The next point answers for itself. A point that left less, such as a log that stayed closed, sets no measure.
    for (const auto& [thing, count] : now.counts) {
        baseline_.counts[thing] = std::max(baseline_.counts[thing], count);
    }
}

void Player::Report(const Outcome& outcome) {
    if (outcome.struck != nullptr) {
        Tell("failed %s", outcome.struck->name);
        if (options_.stacks) {
            Tell("note failed in%s", DescribeStack(StackOfFailure()).c_str());
        }
    }
    for (const std::string& problem : outcome.problems) {
        Tell("problem %s", problem.c_str());
    }
}

void Player::TellFound(const Counts& counts) {
    found_ = counts;
    for (const Order& round : AllRounds()) {
        Tell("found %s %llu", RoundName(round.kind, round.onward).c_str(),
             static_cast<unsigned long long>(counts[static_cast<std::size_t>(round.kind)]));
    }
}

void Player::PlayFresh() {
    Order order = options_.round.value_or(Order{});
    order.number = options_.round ? options_.from : 0;
    Tell("at %s %llu", RoundName(order.kind, order.onward).c_str(), static_cast<unsigned long long>(order.number));
    const Outcome outcome = Run(order);
    Report(outcome);
    if (order.number == 0) {
        TellFound(outcome.counts);
    }
    if (outcome.degraded) {
        return; // commands wait in a channel that does not run
    }
    // Of several looks the least: what the channel's threads hold for a moment is no leak.
    Holdings least = TakeHoldings();
    for (int look = 0; look < kLooks; ++look) {
        AwaitQuiet();
        const Holdings now = TakeHoldings();
        for (auto& [thing, count] : least.counts) {
            const auto found = now.counts.find(thing);
            count = std::min(count, found != now.counts.end() ? found->second : 0);
        }
    }
    for (const auto& [thing, count] : least.counts) {
        Tell("held %zu %s", count, thing.c_str());
    }
}

void Player::PlayRound(const Order& round, std::uint64_t from) {
    const std::uint64_t found = found_[static_cast<std::size_t>(round.kind)];
    for (std::uint64_t number = from;; number += options_.every) {
        if (round.kind == Kind::Json && number > found) {
            return;
        }
        Order order = round;
        order.number = number;
        bool struck = PlayPoint(order);
        for (int attempt = 1; attempt < kAttempts && !struck && number <= found; ++attempt) {
            struck = PlayPoint(order); // The module's own threads make some of the calls, not always in time.
        }
        if (!struck && number <= found) {
            Tell("missed");
        }
        if ((!struck && number >= found) || options_.only) {
            return;
        }
    }
}

/// @return whether a call failed.
bool Player::PlayPoint(const Order& order) {
    g_lastSign = ::GetTickCount64();
    Tell("at %s %llu", RoundName(order.kind, order.onward).c_str(), static_cast<unsigned long long>(order.number));
    const std::size_t mark = MarkBlocks();
    Outcome outcome = Run(order);
    ++points_;
    JudgeHoldings(outcome, mark);
    Report(outcome);
    if (order.kind == Kind::Json) {
        Tell("failed text");
        return true;
    }
    return outcome.struck != nullptr;
}

void Player::PlayAll() {
    for (int i = 0; i < kCleanRuns; ++i) {
        g_lastSign = ::GetTickCount64();
        Tell("at clean 0");
        const Outcome outcome = Run({});
        Report(outcome);
        if (i + 1 == kCleanRuns) {
            TellFound(outcome.counts);
        }
    }
    MeasureCleanRuns();
    bool reached = !options_.round;
    for (const Order& round : AllRounds()) {
        const bool first =
            options_.round && round.kind == options_.round->kind && round.onward == options_.round->onward;
        reached = reached || first;
        if (reached) {
            PlayRound(round, first ? options_.from : 1);
        }
        if (first && (options_.only || options_.oneKind)) {
            break;
        }
    }
    JudgeUsage();
}

void Player::MeasureCleanRuns() {
    usageAtFirst_ = gauges::MeasureUsage();
    for (int i = 0; i < kMeasuredRuns; ++i) {
        g_lastSign = ::GetTickCount64();
        usual_.first = std::move(usual_.second);
        Report(Run({}));
        AwaitQuiet();
        usual_.second = TakeHoldings();
    }
    baseline_ = usual_.second;
    usageBefore_ = gauges::MeasureUsage();
    points_ = 0;
}

/// Handles and the like after all points. Some systems keep a handle of each run, whoever makes it.
void Player::JudgeUsage() {
    const gauges::Usage after = gauges::MeasureUsage();
    const auto allowed = [this](DWORD first, DWORD before, DWORD slack) {
        const std::uint64_t perMeasure = before > first ? before - first : 0;
        return before + slack + perMeasure * (points_ + kMeasuredRuns) / kMeasuredRuns;
    };
    const auto grew = [&](const std::optional<DWORD>& first, const std::optional<DWORD>& before,
                          const std::optional<DWORD>& now) {
        return first && before && now && *now > allowed(*first, *before, kGrownGraphics);
    };
    if (after.handles > allowed(usageAtFirst_.handles, usageBefore_.handles, kGrownHandles) ||
        after.windows > usageBefore_.windows ||
        grew(usageAtFirst_.gdiObjects, usageBefore_.gdiObjects, after.gdiObjects) ||
        grew(usageAtFirst_.userObjects, usageBefore_.userObjects, after.userObjects)) {
        Tell("problem leak: over all points: %s, and before them %s", gauges::Describe(after).c_str(),
             gauges::Describe(usageBefore_).c_str());
    }
}

} // namespace

std::vector<Order> AllRounds() {
    std::vector<Order> rounds;
    for (std::size_t i = 0; i < kKinds; ++i) {
        const auto kind = static_cast<Kind>(i);
        rounds.push_back({kind, 0, false});
        if (kind == Kind::Allocation || (Mask(kind) & kFileKinds) != 0) {
            rounds.push_back({kind, 0, true});
        }
    }
    return rounds;
}

int PlayScene(const Scene& scene, const Options& options) {
    g_lastSign = ::GetTickCount64();
    g_mostSilence = options.patience * 1000;
    ::DuplicateHandle(::GetCurrentProcess(), ::GetCurrentThread(), ::GetCurrentProcess(), &g_player, 0, FALSE,
                      DUPLICATE_SAME_ACCESS);
    std::thread(&Watch).detach();
    ::AddVectoredExceptionHandler(1, &OnException);
    OnAbort(&OnModuleAborts);
    KeepStacks(options.stacks);
    WatchComMemory();
    ::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    try {
        Player player(scene, options);
        if (scene.fresh) {
            player.PlayFresh();
        } else {
            player.PlayAll();
        }
        Tell("end");
    } catch (const std::exception& error) {
        Tell("problem the scene cannot be played: %s", error.what());
        EndWith(kChildFailed, "");
    }
    std::fflush(stdout);
    // Not through the runtime's end: the module's threads are still at work, and it is not what is examined here.
    ::TerminateProcess(::GetCurrentProcess(), 0);
    return 0;
}

} // namespace faults
