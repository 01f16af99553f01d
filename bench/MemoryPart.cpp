#include "bench/Parts.h"
#include "bench/Sample.h"
#include "bench/WorkFolder.h"

#include <windows.h>
#include <psapi.h>

#include <algorithm>
#include <iterator>

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

DWORD WINAPI Wait(void*) {
    ::Sleep(INFINITE);
    return 0;
}

} // namespace

void RunMemorySample(Subject subject) {
    const WorkFolder folder;
    HostSession session;
    PrivateMemory(); // what looking itself needs is there now
    const double memory = PrivateMemory();
    if (subject == Subject::Sleeper) {
        StartThread(&Wait); // as many as the add-in has: the channel's and its window's
        StartThread(&Wait);
    }
    Load(session, subject, folder.File("floor.txt"));
    ::Sleep(kSettle);
    PrintNumbers({PrivateMemory() - memory});
    Unload(session);
}

void MeasureMemory(const Effort& effort) {
    Row whole{"private memory added", "KiB", {}, "bare COM class + the platform's calls", {}, Aim::AtMost(kMostMemory)};
    Row beside{"  of it: beside the two threads", "KiB", {}, "two threads that wait", {}};
    for (int sample = 0; sample < effort.Of(5, 3); ++sample) {
        double kibibytes[3] = {};
        const char* const names[] = {"memory-addin", "memory-platform", "memory-threads"};
        for (std::size_t each = 0; each < std::size(names); ++each) {
            const std::vector<double> numbers = SampleProcess(names[each]).Take();
            Require(numbers.size() == 1, "a memory sample is incomplete");
            kibibytes[each] = numbers[0];
        }
        whole.values.push_back(kibibytes[0]);
        whole.floorValues.push_back(kibibytes[1]);
        beside.values.push_back(kibibytes[0] - kibibytes[2]);
        beside.floorValues.push_back(kibibytes[2]);
    }
    Report(whole);
    Report(beside);
}

} // namespace bench
