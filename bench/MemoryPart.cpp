#include "bench/Parts.h"
#include "bench/Sample.h"
#include "bench/WorkFolder.h"

#include <windows.h>
#include <psapi.h>

#include <algorithm>

namespace bench {
namespace {

constexpr DWORD kSettle = 200;       // milliseconds until the threads wait
constexpr double kMostMemory = 2048; // KiB
constexpr std::size_t kPage = 4096;  // bytes
constexpr std::size_t kPagesAtOnce = 1024;

/// Pages of the region that only this process has, and that are really there.
std::size_t CountPrivatePages(const MEMORY_BASIC_INFORMATION& region) {
    static PSAPI_WORKING_SET_EX_INFORMATION pages[kPagesAtOnce];
    std::size_t count = 0;
    const std::size_t whole = region.RegionSize / kPage;
    for (std::size_t first = 0; first < whole; first += kPagesAtOnce) {
        const std::size_t some = std::min(kPagesAtOnce, whole - first);
        for (std::size_t page = 0; page < some; ++page) {
            pages[page] = {static_cast<char*>(region.BaseAddress) + (first + page) * kPage, {}};
        }
        Require(::K32QueryWorkingSetEx(::GetCurrentProcess(), pages, static_cast<DWORD>(some * sizeof(pages[0]))) != 0,
                "the working set cannot be read");
        for (std::size_t page = 0; page < some; ++page) {
            count += pages[page].VirtualAttributes.Valid != 0 && pages[page].VirtualAttributes.Shared == 0 ? 1 : 0;
        }
    }
    return count;
}

/// KiB that the process has for itself and has touched.
double PrivateMemory() {
    std::size_t pages = 0;
    MEMORY_BASIC_INFORMATION region{};
    for (char* place = nullptr; ::VirtualQuery(place, &region, sizeof(region)) != 0;
         place = static_cast<char*>(region.BaseAddress) + region.RegionSize) {
        if (region.State == MEM_COMMIT) {
            pages += CountPrivatePages(region);
        }
    }
    return static_cast<double>(pages * kPage) / 1024;
}

/// KiB that the system has promised to the process.
double CommittedMemory() {
    PROCESS_MEMORY_COUNTERS_EX counters{};
    counters.cb = sizeof(counters);
    ::K32GetProcessMemoryInfo(::GetCurrentProcess(), reinterpret_cast<PROCESS_MEMORY_COUNTERS*>(&counters),
                              sizeof(counters));
    return static_cast<double>(counters.PrivateUsage) / 1024;
}

} // namespace

void RunMemorySample(Subject subject) {
    const WorkFolder folder;
    HostSession session;
    PrivateMemory(); // what looking itself needs is there now
    const double memory = PrivateMemory();
    const double committed = CommittedMemory();
    Load(session, subject, folder.File("floor.txt"));
    ::Sleep(kSettle);
    PrintNumbers({PrivateMemory() - memory, CommittedMemory() - committed});
    Unload(session);
}

void MeasureMemory(const Effort& effort) {
    constexpr const char* kFloor = "bare COM class + the platform's calls";
    Row touched{"private memory added", "KiB", {}, kFloor, {}, Aim::AtMost(kMostMemory)};
    Row committed{"private memory promised, stacks included", "KiB", {}, kFloor, {}};
    for (int sample = 0; sample < effort.Of(7, 3); ++sample) {
        const std::vector<double> addIn = SampleProcess("memory-addin").Take();
        const std::vector<double> platform = SampleProcess("memory-platform").Take();
        Require(addIn.size() == 2 && platform.size() == 2, "a memory sample is incomplete");
        touched.values.push_back(addIn[0]);
        touched.floorValues.push_back(platform[0]);
        committed.values.push_back(addIn[1]);
        committed.floorValues.push_back(platform[1]);
    }
    Report(touched);
    Report(committed);
}

} // namespace bench
