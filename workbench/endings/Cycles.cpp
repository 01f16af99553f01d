#include "workbench/endings/Cycles.h"

#include "workbench/endings/Module.h"
#include "workbench/endings/Process.h"
#include "workbench/endings/Resources.h"

#include "workbench/host/OutlookHost.h"
#include "workbench/host/Pump.h"

#include "resources/Connect.h"
#include "support/Text.h"
#include "tests/fakes/AddInModule.h"

#include <algorithm>
#include <chrono>
#include <stdexcept>

namespace endings {
namespace {

constexpr DWORD kLimitOfProcess = 30'000; // ms without a cycle
constexpr std::uint64_t kFreshEvery = 10; // one process of its own for so many cycles
constexpr const wchar_t* kNotifyClass = L"NBM_OUTLOOK_ADDIN_MSGWND";
constexpr int kViolations = 1;
// One toolchain's thread library keeps a slot of thread-local storage for each load of a module that it is linked into,
// and a process has 1088 of them.
constexpr std::uint64_t kMostLoads = 1000;
constexpr std::uint64_t kBareCycles = 50;

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
    workbench::OutlookHost host;
    host.AddStore(L"Mailbox");
    host.OpenExplorer(L"Calendar");
    workbench::AddInHost& addIn = host.LoadAddIn(AddInModulePath(), CLSID_NembraMeeting);
    Require(addIn.LoadStatus() == S_OK, "the module could not be loaded");
    Require(addIn.CanUnload() == S_FALSE, "DllCanUnloadNow says yes while there is an object");
    Require(addIn.Connect() == S_OK, "OnConnection fails");
    Require(ClassExists(kNotifyClass), "no window class while connected");
    const long references = addIn.Exit();
    Require(references == 0, "references left on the add-in: " + std::to_string(references));
    Require(!ClassExists(kNotifyClass), "the window class stays behind");
    Require(host.AdvisedSinks().empty(), "a sink is still advised");
    host.Shutdown();
    for (const std::wstring& line : host.Objects().Outstanding()) {
        throw std::runtime_error("still held: " + ToUtf8(line));
    }
    Require(host.WrongThreadCalls() == 0, "calls on another thread");
    Require(addIn.CanUnload() == S_OK, "DllCanUnloadNow says no though there is no object");
    addIn.UnloadModule();
    Require(Module::IsMapped(), "the module has left the memory under its own threads");
}

void UnconnectedCycle() {
    Require(!Module::IsMapped(), "the module is in the memory before it is loaded");
    Module module;
    Require(module.CanUnload() == S_FALSE, "DllCanUnloadNow says yes while there is an object");
    Require(module.ReleaseObject() == 0, "references left on the add-in");
    Require(module.CanUnload() == S_OK, "DllCanUnloadNow says no though there is no object");
    module.Free();
    Require(!Module::IsMapped(), "the module stays in the memory");
}

void BareCycle() {
    const HMODULE module = ::LoadLibraryW(L"endings_bare.dll");
    using Use = int(__cdecl*)();
    const auto use =
        module ? reinterpret_cast<Use>(reinterpret_cast<void*>(::GetProcAddress(module, "UseRunTime"))) : nullptr;
    Require(use && use() > 0, "the bare module could not be used");
    ::FreeLibrary(module);
}

/// The lasting resources of the first cycles (the channel and its two threads, the system's own stores) do not count.
Trend Repeat(const std::string& kind, std::uint64_t count, void (*cycle)()) {
    const std::uint64_t early = std::min<std::uint64_t>(count, std::max<std::uint64_t>(count / 10, 5));
    Trend trend;
    trend.cycles = count - early;
    for (std::uint64_t done = 1; done <= count; ++done) {
        cycle();
        workbench::PumpFor(0);
        if (done == early) {
            trend.before = MeasureResources();
        }
        if (done % 250 == 0) {
            Say("  " + std::to_string(done) + " " + kind);
        }
    }
    trend.after = MeasureResources();
    Say("  " + kind + " after " + std::to_string(early) + ": " + Describe(trend.before));
    Say("  " + kind + " after " + std::to_string(count) + ": " + Describe(trend.after));
    return trend;
}

void Judge(const Trend& trend, const Trend& allowed) {
    const std::string grown = Growth(trend, allowed);
    Require(grown.empty(), "over " + std::to_string(trend.cycles) + " cycles " + grown);
}

/// @return whether it ended in order.
bool RunProcess(const wchar_t* kind, std::uint64_t count, Report& report) {
    const process::ChildProcess process = StartChild({L"cycles", kind, std::to_wstring(count)});
    const auto limit = static_cast<DWORD>(kLimitOfProcess + count * 200);
    const auto code = process.WaitForEnd(limit);
    if (code == 0) {
        return true;
    }
    report.Violation("cycles, " + ToUtf8(kind) + ": " + (code ? "exit code " + Hex(*code) : "no end within the limit"));
    return false;
}

} // namespace

void RunCycles(const Options& options, Report& report) {
    const auto begin = std::chrono::steady_clock::now();
    Say("cycles without a connection");
    bool unconnected = true;
    for (std::uint64_t done = 0; done < options.cycles; done += kMostLoads) {
        unconnected = RunProcess(L"unconnected", std::min(options.cycles - done, kMostLoads), report) && unconnected;
    }
    Say("cycles with a connection");
    const bool connected = RunProcess(L"connected", options.cycles, report);
    const std::uint64_t fresh = std::max<std::uint64_t>(options.cycles / kFreshEvery, 3);
    Say("cycles in processes of their own");
    std::uint64_t ended = 0;
    for (std::uint64_t done = 0; done < fresh; ++done) {
        ended += RunProcess(L"fresh", 1, report) ? 1 : 0;
    }
    const auto took = std::chrono::steady_clock::now() - begin;
    const auto text = [](std::uint64_t count, bool good) {
        return std::to_string(count) + (good ? ", none out of order" : ", see the violations");
    };
    report.Row("load, create, release, free; module gone each time", text(options.cycles, unconnected));
    report.Row("load, connect, disconnect, release, free in one process", text(options.cycles, connected));
    report.Row("the same in a process of its own, to its end", text(fresh, ended == fresh));
    report.Row("time of the cycles",
               std::to_string(std::chrono::duration_cast<std::chrono::seconds>(took).count()) + " s");
}

int PlayCycles(const std::vector<std::string>& orders) {
    const std::string& kind = orders.at(0);
    const std::uint64_t count = ParseNumber(kind, orders.at(1));
    try {
        if (kind == "fresh") {
            ConnectedCycle();
        } else if (kind == "connected") {
            Judge(Repeat(kind, count, &ConnectedCycle), {});
        } else {
            const Trend bare = Repeat("bare", kBareCycles, &BareCycle);
            Judge(Repeat(kind, count, &UnconnectedCycle), bare);
        }
        return 0;
    } catch (const std::exception& error) {
        Say("  " + kind + ": " + error.what());
    }
    return kViolations;
}

} // namespace endings
