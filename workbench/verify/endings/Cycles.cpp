#include "workbench/verify/endings/Endings.h"

#include "workbench/verify/core/Session.h"
#include "workbench/verify/core/Usage.h"

#include "workbench/host/Pump.h"

#include "support/Text.h"

#include <algorithm>
#include <stdexcept>

namespace verify {
namespace {

constexpr DWORD kLimitOfProcess = 30'000; // ms without a cycle
constexpr std::uint64_t kFreshEvery = 10; // one process of its own for so many cycles
constexpr const wchar_t* kNotifyClass = L"NBM_OUTLOOK_ADDIN_MSGWND";
// One toolchain's thread library keeps a slot of thread-local storage for each load of a module that it is linked into,
// and a process has 1088 of them.
constexpr std::uint64_t kMostLoads = 1000;
constexpr std::uint64_t kBareCycles = 50;
constexpr std::uint64_t kBytesPerCycle = 8; // less than the smallest allocation
// The system's own threads come and go. A heap grows by blocks of megabytes.
constexpr Usage kSlack = {8, 2, 0, 4, 4, 4U << 20, 64U << 10, kNotJudged};

void Require(bool holds, const std::string& what) {
    if (!holds) {
        throw std::runtime_error(what);
    }
}

bool ClassExists(const wchar_t* name) {
    WNDCLASSEXW found{};
    found.cbSize = sizeof found;
    return ::GetClassInfoExW(::GetModuleHandleW(nullptr), name, &found) != FALSE;
}

/// One life of the add-in in an Outlook of its own.
void ConnectedCycle() {
    Session session;
    session.Begin();
    const HMODULE module = session.AddIn().Module();
    Require(session.AddIn().CanUnload() == S_FALSE, "DllCanUnloadNow says yes while there is an object");
    Require(session.AddIn().Connect() == S_OK, "OnConnection fails");
    Require(ClassExists(kNotifyClass), "no window class while connected");
    const std::vector<std::string> left = session.End();
    Require(left.empty(), fmt::format("{}", fmt::join(left, ", ")));
    Require(!ClassExists(kNotifyClass), "the window class stays behind");
    Require(Module::IsMapped(), "the module has left the memory under its own threads");
    Require(Module::CanUnload(module) == S_OK, "DllCanUnloadNow says no though there is no object");
}

void UnconnectedCycle() {
    Require(!Module::IsMapped(), "the module is in the memory before it is loaded");
    Module module;
    Require(Module::CanUnload(module.Handle()) == S_FALSE, "DllCanUnloadNow says yes while there is an object");
    Require(module.ReleaseObject() == 0, "references left on the add-in");
    Require(Module::CanUnload(module.Handle()) == S_OK, "DllCanUnloadNow says no though there is no object");
    module.Free();
    Require(!Module::IsMapped(), "the module stays in the memory");
}

void BareCycle() {
    const HMODULE module = ::LoadLibraryW(L"endings_bare.dll");
    const auto use = module ? FunctionOf<int(__cdecl*)()>(module, "UseRunTime") : nullptr;
    Require(use && use() > 0, "the bare module could not be used");
    ::FreeLibrary(module);
}

/// A number of cycles, and the usage before and after them.
struct Trend {
    Usage before{};
    Usage after{};
    std::uint64_t cycles = 1;
};

/// The lasting resources of the first cycles (the channel and its two threads, the system's own stores) do not count.
Trend Repeat(const std::string& kind, std::uint64_t count, void (*cycle)()) {
    const std::uint64_t early = std::min<std::uint64_t>(count, std::max<std::uint64_t>(count / 10, 5));
    Trend trend;
    trend.cycles = count - early;
    for (std::uint64_t done = 1; done <= count; ++done) {
        cycle();
        workbench::PumpFor(0);
        if (done == early) {
            trend.before = MeasureUsage();
        }
        if (done % 250 == 0) {
            Say("  {} {}", done, kind);
        }
    }
    trend.after = MeasureUsage();
    Say("  {} after {}: {}\n  {} after {}: {}", kind, early, Describe(trend.before), kind, count,
        Describe(trend.after));
    return trend;
}

/// @param known cycles that are known to leave something behind; their growth is scaled to as many cycles.
void Judge(const Trend& trend, const Trend& known = {}) {
    Usage slack = kSlack;
    slack[kHeapBytes] = std::max(slack[kHeapBytes], trend.cycles * kBytesPerCycle);
    const std::string grown =
        Growth(trend.before, trend.after, slack, ScaledGrowth(known.before, known.after, known.cycles, trend.cycles));
    Require(grown.empty(), fmt::format("over {} cycles leak: {}", trend.cycles, grown));
}

/// @return whether it ended in order.
bool RunProcess(const wchar_t* kind, std::uint64_t count, Report& report) {
    const process::ChildProcess process = StartEnding({L"cycles", kind, std::to_wstring(count)});
    const auto code = process.WaitForEnd(static_cast<DWORD>(kLimitOfProcess + count * 200));
    if (code != 0U) {
        report.Violation(fmt::format("cycles, {}: {}", ToUtf8(kind),
                                     code ? fmt::format("exit code 0x{:x}", *code) : "hang: no end within the limit"));
    }
    return code == 0U;
}

} // namespace

void RunCycles(const EndingOptions& options, Report& report) {
    const auto row = [&report](const char* what, std::uint64_t count, bool good) {
        report.Row(what, fmt::format("{}{}", count, good ? ", none out of order" : ", see the violations"));
    };
    bool unconnected = true;
    for (std::uint64_t done = 0; done < options.cycles; done += kMostLoads) {
        unconnected = RunProcess(L"unconnected", std::min(options.cycles - done, kMostLoads), report) && unconnected;
    }
    row("load, create, release, free; module gone each time", options.cycles, unconnected);
    row("load, connect, disconnect, release, free in one process", options.cycles,
        RunProcess(L"connected", options.cycles, report));
    const std::uint64_t fresh = std::max<std::uint64_t>(options.cycles / kFreshEvery, 3);
    bool all = true;
    for (std::uint64_t done = 0; done < fresh; ++done) {
        all = RunProcess(L"fresh", 1, report) && all;
    }
    row("the same in a process of its own, to its end", fresh, all);
}

int PlayCycles(const std::vector<std::string>& words) {
    const std::string& kind = words.at(0);
    const std::uint64_t count = std::stoull(words.at(1));
    try {
        if (kind == "fresh") {
            ConnectedCycle();
        } else if (kind == "connected") {
            Judge(Repeat(kind, count, &ConnectedCycle));
        } else {
            const Trend bare = Repeat("bare", kBareCycles, &BareCycle);
            Judge(Repeat(kind, count, &UnconnectedCycle), bare);
        }
        return kNoViolation;
    } catch (const std::exception& error) {
        Say("  {}: {}", kind, error.what());
    }
    return kViolations;
}

} // namespace verify
