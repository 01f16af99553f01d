#include "workbench/verify/faults/Faults.h"

#include "workbench/verify/core/Process.h"
#include "workbench/verify/core/Report.h"
#include "workbench/verify/faults/Blocks.h"
#include "workbench/verify/faults/Hooks.h"
#include "workbench/verify/faults/Injector.h"

#include "support/Text.h"

#include <windows.h>
#include <comdef.h>

#include <algorithm>
#include <exception>
#include <stdexcept>

namespace verify {
namespace {

constexpr int kCleanRuns = 3;    // the first ones leave behind what is made once
constexpr int kLooks = 5;        // at what is held, before it counts as a leak
constexpr int kMeasuredRuns = 5; // clean ones too, which tell what the system itself keeps of each run

/// Over a whole scene. The system's own threads come and go. Its cache holds up to 64 device contexts, under Wine each
/// with a region and a bitmap; the module's own bitmaps are counted one by one, as is its memory.
constexpr Usage kSlack = {8, kNotJudged, 0, 64 * 3, 128, kNotJudged, kNotJudged, kNotJudged};

void Problem(const std::string& text) {
    Say("problem {}", text);
}

/// A message that is under way in the channel has its memory.
void AwaitQuiet() {
    const std::uint64_t rounds = ChannelRounds();
    const ULONGLONG end = ::GetTickCount64() + 50;
    while (ChannelRounds() < rounds + 3 && ::GetTickCount64() < end) {
        ::Sleep(1);
    }
}

bool StepSafely(Act& act) {
    try {
        return act.Step();
    } catch (const _com_error& error) {
        Problem(fmt::format("an exception left the module, or the host has one: {}", error.Error()));
    } catch (const std::exception& error) {
        Problem(std::string("an exception left the module: ") + error.what());
    } catch (...) {
        Problem("an exception left the module");
    }
    return false;
}

class Worker {
public:
    Worker(const Scene& scene, const FaultOptions& options)
        : scene_(scene),
          options_(options),
          watchdog_(std::chrono::seconds(options.patience)),
          module_(ToWide(options.module)) {
        if (scene.attached && !module_.Attach()) {
            throw std::runtime_error("the module does not attach");
        }
    }

    void Play();

private:
    /// @return whether a call failed.
    bool Run(const Order& order = {});
    void PlayOnce();
    void PlayRound(Order order);
    void JudgeHoldings();
    void TellFound() const;

    const Scene& scene_;
    const FaultOptions& options_;
    Watchdog watchdog_;
    StagedModule module_;
    Holdings baseline_;
    std::pair<Holdings, Holdings> usual_; // after the last two clean runs
    Counts found_{};
    bool degraded_ = false;
    std::uint64_t points_ = 0;
};

bool Worker::Run(const Order& order) {
    watchdog_.Doing(fmt::format("{} {} {}", scene_.name, order.Round(), order.number));
    Say("at {} {}", order.number == 0 ? "clean" : order.Round(), order.number);
    const std::unique_ptr<Act> act = scene_.make(module_);
    act->Prepare();
    Arm(order);
    const bool worked = StepSafely(*act);
    const Counts counts = Disarm();
    const bool struck = HasStruck();
    if (order.number == 0) {
        found_ = counts;
        if (!worked) {
            Problem("the scene has no effect although nothing failed");
        }
    }
    for (const std::string& problem : act->Judge()) {
        Problem(problem);
    }
    act->Prepare();
    if (!StepSafely(*act)) {
        Problem("the unharmed repetition has no effect");
    }
    if (!act->Works()) {
        Problem("the module does not do its work afterwards");
    }
    degraded_ = act->Degraded();
    if (degraded_) {
        Say("degraded");
    }
    for (const std::string& problem : act->End()) {
        Problem(problem);
    }
    return struck;
}

void Worker::JudgeHoldings() {
    Holdings now = TakeHoldings();
    for (int look = 0; look < kLooks && !GrowthOf(baseline_, now, usual_).empty(); ++look) {
        AwaitQuiet();
        now = TakeHoldings();
    }
    for (const std::string& line : GrowthOf(baseline_, now, usual_)) {
        Problem(line);
    }
    // The next point answers for itself. A point that left less, such as a log that stayed closed, sets no measure.
    for (const auto& [thing, count] : now) {
        baseline_[thing] = std::max(baseline_[thing], count);
    }
}

void Worker::TellFound() const {
    for (const Order& round : Rounds()) {
        if (!scene_.fresh || round.kind < Kind::HostStatus) {
            Say("found {} {}", round.Round(), found_[static_cast<std::size_t>(round.kind)]);
        }
    }
}

void Worker::PlayOnce() {
    Order order;
    for (const Order& round : Rounds(options_.kind)) { // none: a clean run
        order = {round.kind, options_.from, round.onward};
    }
    Run(order);
    if (order.number == 0) {
        TellFound();
    }
    if (degraded_) { // commands wait in a channel that does not run
        return;
    }
    // Of several looks the least: the memory that the channel's threads hold for a moment is no leak.
    Holdings least = TakeHoldings();
    for (int look = 0; look < kLooks; ++look) {
        AwaitQuiet();
        for (const auto& [thing, count] : TakeHoldings()) {
            least[thing] = std::min(least[thing], count);
        }
    }
    for (const auto& [thing, count] : least) {
        Say("held {} {}", count, thing);
    }
}

void Worker::Play() {
    if (scene_.fresh) {
        PlayOnce();
        return;
    }
    for (int i = 0; i < kCleanRuns; ++i) {
        Run();
    }
    TellFound();
    const Usage usageAtFirst = MeasureUsage();
    for (int i = 0; i < kMeasuredRuns; ++i) {
        usual_.first = std::move(usual_.second);
        Run();
        AwaitQuiet();
        usual_.second = TakeHoldings();
    }
    baseline_ = usual_.second;
    const Usage usageBefore = MeasureUsage();
    bool reached = options_.behind.empty();
    for (const Order& round : Rounds(options_.kind)) {
        if (reached) {
            PlayRound(round);
        }
        reached = reached || round.Round() == options_.behind;
    }
    // Handles and the like after all points. Some systems keep a handle of each run, whoever makes it.
    Usage known = ScaledGrowth(usageAtFirst, usageBefore, kMeasuredRuns, points_ + kMeasuredRuns);
    known[kWindows] = 0;
    if (const std::string grown = Growth(usageBefore, MeasureUsage(), kSlack, known); !grown.empty()) {
        Problem("leak: over all points: " + grown);
    }
}

void Worker::PlayRound(Order order) {
    const std::uint64_t found = found_[static_cast<std::size_t>(order.kind)];
    for (order.number = options_.from;; order.number += options_.every) {
        bool struck = false;
        int attempt = 0;
        do { // The module's own threads make some of the calls, not always in time.
            struck = Run(order);
            ++points_;
            JudgeHoldings();
        } while (!struck && order.number <= found && ++attempt < kAttempts);
        if (!struck && order.number <= found) {
            Say("missed");
        }
        if ((!struck && order.number >= found) || options_.only) {
            return;
        }
    }
}

} // namespace

int PlayScene(const Scene& scene, const FaultOptions& options) {
    ReportCrashes();
    WatchComMemory();
    ::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    UINT code = kNoViolation;
    try {
        // Never destroyed, nor is the runtime's end run through: the module's threads are still at work, and the end is
        // not examined here.
        (new Worker(scene, options))->Play();
        Say("end");
    } catch (const std::exception& error) {
        Say("problem the scene cannot be played: {}", error.what());
        code = kViolations;
    }
    ::TerminateProcess(::GetCurrentProcess(), code);
    return kViolations;
}

} // namespace verify
