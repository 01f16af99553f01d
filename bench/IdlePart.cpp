#include "bench/Parts.h"
#include "bench/Receiver.h"
#include "bench/Sample.h"
#include "resources/Connect.h"
#include "workbench/gauges/ImportPatch.h"

#include <atomic>
#include <memory>

namespace bench {
namespace {

constexpr DWORD kTick = 20;           // milliseconds, the channel's
constexpr DWORD kSettle = 1'500;      // milliseconds until the start is over
constexpr DWORD kWindow = 8'000;      // milliseconds, of a full run
constexpr DWORD kQuickWindow = 3'000; // milliseconds
constexpr double kHour = 3600;        // seconds
constexpr double kMostCpu = 3.6;      // seconds an hour: a thousandth of a core
constexpr int kAddIns = 6;            // processes at once: the system counts processor time by hundredths of a second
constexpr int kOthers = 3;

std::atomic<int64_t> g_wakeUps{0};

void WINAPI CountedSleep(DWORD milliseconds) {
    ::Sleep(milliseconds);
    ++g_wakeUps;
}

DWORD WINAPI SleepOnly(void*) {
    for (;;) {
        CountedSleep(kTick);
    }
}

int64_t ProcessorTime() { // microseconds
    FILETIME times[4] = {};
    ::GetProcessTimes(::GetCurrentProcess(), &times[0], &times[1], &times[2], &times[3]);
    const auto whole = [](const FILETIME& time) {
        return static_cast<int64_t>(time.dwHighDateTime) << 32 | time.dwLowDateTime;
    };
    return (whole(times[2]) + whole(times[3])) / 10;
}

/// The add-in connected, each of its wake-ups counted. Its threads start in the connection and read the import then.
void ConnectCounted(HostSession& session) {
    workbench::AddInHost& addIn = session.Host().LoadAddIn(AddInPath(), CLSID_NembraMeeting);
    Require(addIn.LoadStatus() == S_OK, "the add-in cannot be loaded");
    Require(gauges::PatchImport(addIn.Module(), "Sleep", reinterpret_cast<void*>(&CountedSleep)) != nullptr,
            "the add-in imports no Sleep");
    Require(addIn.Connect() == S_OK, "the add-in does not connect");
}

/// As the host's idle message loop: asleep unless there is a message.
void Idle(DWORD milliseconds) {
    const ULONGLONG end = ::GetTickCount64() + milliseconds;
    for (ULONGLONG now = ::GetTickCount64(); now < end; now = ::GetTickCount64()) {
        ::MsgWaitForMultipleObjects(0, nullptr, FALSE, static_cast<DWORD>(end - now), QS_ALLINPUT);
        for (MSG message; ::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE);) {
            ::DispatchMessageW(&message);
        }
    }
}

/// Sum over processes that run at the same time.
struct IdleTotal {
    double seconds = 0;
    double processor = 0; // seconds
    double wakeUps = 0;

    void Add(const std::vector<double>& numbers) {
        Require(numbers.size() == 3, "an idle sample is incomplete");
        seconds += numbers[0] / 1e6;
        processor += numbers[1] / 1e6;
        wakeUps += numbers[2];
    }
    double ProcessorPerHour() const { return processor / seconds * kHour; }
    double WakeUpsPerSecond() const { return wakeUps / seconds; }
};

using Processes = std::vector<std::unique_ptr<SampleProcess>>;

Processes Start(const char* name, int count) {
    Processes processes;
    for (int each = 0; each < count; ++each) {
        processes.push_back(std::make_unique<SampleProcess>(name));
    }
    return processes;
}

IdleTotal Collect(Processes processes) {
    IdleTotal total;
    for (const auto& process : processes) {
        total.Add(process->Take());
    }
    return total;
}

void MeasureWith(const std::string& client, const char* suffix) {
    Processes addIns = Start((std::string("idle-addin") + suffix).c_str(), kAddIns);
    Processes sleepers = Start((std::string("idle-sleeper") + suffix).c_str(), kOthers);
    Processes hosts = Start((std::string("idle-nothing") + suffix).c_str(), kOthers);
    const IdleTotal addIn = Collect(std::move(addIns));
    const IdleTotal sleeper = Collect(std::move(sleepers));
    const IdleTotal host = Collect(std::move(hosts));
    const std::string name = "idle, client " + client + ": ";
    Report({name + "processor time an hour",
            "s",
            {addIn.ProcessorPerHour() - host.ProcessorPerHour()},
            "a thread that only sleeps 20 ms at a time",
            {sleeper.ProcessorPerHour() - host.ProcessorPerHour()},
            Aim::AtMost(kMostCpu)});
    Report({name + "wake-ups a second",
            "",
            {addIn.WakeUpsPerSecond()},
            "a thread that only sleeps 20 ms at a time",
            {sleeper.WakeUpsPerSecond()}});
}

} // namespace

void RunIdleSample(Subject subject, bool quick) {
    HostSession session;
    if (subject == Subject::Sleeper) {
        StartThread(&SleepOnly);
    } else if (subject == Subject::AddIn) {
        ConnectCounted(session);
    }
    Idle(kSettle);
    const int64_t start = Now();
    const int64_t processor = ProcessorTime();
    const int64_t wakeUps = g_wakeUps;
    Idle(quick ? kQuickWindow : kWindow);
    PrintNumbers({Microseconds(Now() - start), static_cast<double>(ProcessorTime() - processor),
                  static_cast<double>(g_wakeUps - wakeUps)});
    // The add-in's threads live until the process ends, and the hook is in their way of ending with the module.
    ::TerminateProcess(::GetCurrentProcess(), 0);
}

void MeasureIdle(const Effort& effort) {
    const char* const suffix = effort.quick ? "-quick" : "";
    MeasureWith("absent", suffix);
    const Receiver client;
    MeasureWith("present", suffix);
}

} // namespace bench
