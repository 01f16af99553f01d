#include "workbench/verify/endings/Endings.h"

#include "workbench/verify/core/Usage.h"

#include "workbench/host/Pump.h"

#include "support/Text.h"

#include <algorithm>
#include <stdexcept>

namespace verify {
namespace {

constexpr DWORD kLimitOfProcess = 30'000; // ms without a cycle
constexpr std::uint64_t kFreshEvery = 10; // one process of its own for so many cycles
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

bool IsMapped() {
    return ::GetModuleHandleW(L"OutlookAddIn.dll") != nullptr;
}

bool WindowClassExists() {
    WNDCLASSEXW found{};
    found.cbSize = sizeof found;
    return ::GetClassInfoExW(::GetModuleHandleW(nullptr), L"NBM_OUTLOOK_ADDIN_MSGWND", &found) != FALSE;
}

/// One life of the add-in in an Outlook of its own. A connection pins the module, as its threads run on.
void Cycle(bool connected) {
    Require(connected || !IsMapped(), "the module is in the memory before it is loaded");
    Session session;
    session.Begin();
    workbench::AddInHost& addIn = session.AddIn();
    Require(addIn.CanUnload() == S_FALSE, "DllCanUnloadNow says yes while there is an object");
    if (connected) {
        Require(addIn.Connect() == S_OK, "OnConnection fails");
        Require(WindowClassExists(), "no window class while connected");
    }
    Require(addIn.Exit() == 0, "references left on the add-in");
    Require(addIn.CanUnload() == S_OK, "DllCanUnloadNow says no though there is no object");
    const std::vector<std::string> left = session.End();
    Require(left.empty(), fmt::format("{}", fmt::join(left, ", ")));
    Require(!WindowClassExists(), "the window class stays behind");
    Require(IsMapped() == connected,
            connected ? "the module has left the memory under its own threads" : "the module stays in the memory");
}

void BareCycle() {
    const HMODULE module = ::LoadLibraryW(L"endings_bare.dll");
    const auto use = reinterpret_cast<int(__cdecl*)()>(reinterpret_cast<void*>(::GetProcAddress(module, "UseRunTime")));
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
Trend Repeat(const std::string& kind, std::uint64_t count, const std::function<void()>& cycle) {
    const std::uint64_t early = std::min<std::uint64_t>(count, std::max<std::uint64_t>(count / 10, 5));
    Trend trend;
    trend.cycles = count - early;
    for (std::uint64_t done = 1; done <= count; ++done) {
        cycle();
        workbench::PumpFor(0);
        if (done == early) {
            trend.before = MeasureUsage();
        }
    }
    trend.after = MeasureUsage();
    if (trend.cycles != 0) {
        Say("  {} after {}: {}", kind, early, Describe(trend.before));
        Say("  {} after {}: {}", kind, count, Describe(trend.after));
    }
    return trend;
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
    const struct {
        const char* row;
        const wchar_t* kind;
        std::uint64_t count;
        std::uint64_t inOneProcess;
    } runs[] = {
        {"load, create, release, free; module gone each time", L"unconnected", options.cycles, kMostLoads},
        {"load, connect, disconnect, release, free in one process", L"connected", options.cycles, options.cycles},
        {"the same in a process of its own, to its end", L"connected",
         std::max<std::uint64_t>(options.cycles / kFreshEvery, 3), 1},
    };
    for (const auto& run : runs) {
        bool good = true;
        for (std::uint64_t done = 0; done < run.count; done += run.inOneProcess) {
            good = RunProcess(run.kind, std::min(run.count - done, run.inOneProcess), report) && good;
        }
        report.Row(run.row, fmt::format("{}{}", run.count, good ? ", none out of order" : ", see the violations"));
    }
}

int PlayCycles(const std::vector<std::string>& words) {
    const std::string& kind = words.at(0);
    const std::uint64_t count = std::stoull(words.at(1));
    const bool connected = kind == "connected";
    // Leaves something behind that the add-in cannot help.
    const Trend known = connected ? Trend() : Repeat("bare", kBareCycles, &BareCycle);
    const Trend trend = Repeat(kind, count, [connected] { Cycle(connected); });
    Usage slack = kSlack;
    slack[kHeapBytes] = std::max(slack[kHeapBytes], trend.cycles * kBytesPerCycle);
    const std::string grown =
        Growth(trend.before, trend.after, slack, ScaledGrowth(known.before, known.after, known.cycles, trend.cycles));
    Require(grown.empty(), fmt::format("over {} cycles leak: {}", trend.cycles, grown));
    return kNoViolation;
}

} // namespace verify
