#include "workbench/verify/core/Usage.h"

#include "support/UniqueResource.h"

#include <fmt/format.h>

#include <windows.h>
#include <tlhelp32.h>
#include <winternl.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <span>

namespace verify {
namespace {

struct SnapshotTraits {
    using Value = HANDLE;
    static Value Empty() noexcept { return INVALID_HANDLE_VALUE; }
    static void Close(Value snapshot) noexcept { ::CloseHandle(snapshot); }
};
using UniqueSnapshot = UniqueResource<SnapshotTraits>;

constexpr const char* kNames[kGauges] = {"handles",      "threads",       "windows",         "GDI objects",
                                         "USER objects", "private bytes", "allocated bytes", "allocated blocks"};

BOOL CALLBACK CountWindow(HWND window, LPARAM parameter) noexcept {
    DWORD process = 0;
    ::GetWindowThreadProcessId(window, &process);
    *reinterpret_cast<DWORD*>(parameter) += process == ::GetCurrentProcessId() ? 1 : 0;
    return TRUE;
}

DWORD CountWindows() {
    DWORD count = 0;
    ::EnumWindows(&CountWindow, reinterpret_cast<LPARAM>(&count));
    HWND window = nullptr;
    while ((window = ::FindWindowExW(HWND_MESSAGE, window, nullptr, nullptr)) != nullptr) {
        CountWindow(window, reinterpret_cast<LPARAM>(&count));
    }
    return count;
}

/// Older Wine does not tell their number. Its handles lie below a gap that is larger than any that closed ones leave.
DWORD CountHandles() {
    DWORD count = 0;
    if (::GetProcessHandleCount(::GetCurrentProcess(), &count) && count != 0) {
        return count;
    }
    constexpr ULONG_PTR kGap = 4 * 4096;
    ULONG_PTR last = 0;
    for (ULONG_PTR value = 4; value - last <= kGap; value += 4) {
        DWORD flags = 0;
        if (::GetHandleInformation(reinterpret_cast<HANDLE>(value), &flags)) {
            ++count;
            last = value;
        }
    }
    return count;
}

DWORD CountThreads() {
    const UniqueSnapshot snapshot(::CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0));
    THREADENTRY32 entry{};
    entry.dwSize = sizeof entry;
    DWORD count = 0;
    for (BOOL more = ::Thread32First(snapshot.Get(), &entry); more; more = ::Thread32Next(snapshot.Get(), &entry)) {
        count += entry.th32OwnerProcessID == ::GetCurrentProcessId() ? 1 : 0;
    }
    return count;
}

/// Entries in use of the table of GDI handles that the process shares with the system; 0 without one.
DWORD CountGdiTable() {
    struct Entry {
        std::uint64_t object;
        std::uint32_t owner;
        std::uint16_t unique;
        std::uint8_t type; // 0: free
        std::uint8_t flags;
        std::uint64_t userPointer;
    };
    constexpr std::size_t kTableInProcessBlock = 0xF8;
    constexpr std::size_t kEntries = 0x10000;
    using Query = NTSTATUS(NTAPI*)(HANDLE, PROCESSINFOCLASS, void*, ULONG, ULONG*);
    const auto query = reinterpret_cast<Query>(
        reinterpret_cast<void*>(::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "NtQueryInformationProcess")));
    PROCESS_BASIC_INFORMATION process{};
    if (!query || query(::GetCurrentProcess(), ProcessBasicInformation, &process, sizeof process, nullptr) != 0) {
        return 0;
    }
    const auto* block = reinterpret_cast<const std::byte*>(process.PebBaseAddress);
    const Entry* table = nullptr;
    std::memcpy(&table, block + kTableInProcessBlock, sizeof table);
    if (!table) {
        return 0;
    }
    return static_cast<DWORD>(std::count_if(table, table + kEntries, [](const Entry& one) { return one.type != 0; }));
}

DWORD CountGdiObjects() {
    if (const DWORD count = ::GetGuiResources(::GetCurrentProcess(), GR_GDIOBJECTS); count != 0) {
        return count;
    }
    // Wine answers 0. The table has no documented layout: it is believed only if it shows a brush come and go.
    const DWORD before = CountGdiTable();
    UniqueGdiObject brush(::CreateSolidBrush(RGB(1, 2, 3)));
    const DWORD with = CountGdiTable();
    brush.Reset();
    return with == before + 1 && CountGdiTable() == before ? before : 0;
}

std::size_t CountPrivateBytes() {
    std::size_t bytes = 0;
    MEMORY_BASIC_INFORMATION region{};
    for (const auto* at = static_cast<const std::byte*>(nullptr); ::VirtualQuery(at, &region, sizeof region) != 0;
         at = static_cast<const std::byte*>(region.BaseAddress) + region.RegionSize) {
        bytes += region.State == MEM_COMMIT && region.Type == MEM_PRIVATE ? region.RegionSize : 0;
    }
    return bytes;
}

void MeasureHeaps(Usage& usage) {
    HANDLE heaps[64];
    const DWORD count = std::min<DWORD>(::GetProcessHeaps(static_cast<DWORD>(std::size(heaps)), heaps), 64);
    for (HANDLE heap : std::span(heaps, count)) {
        PROCESS_HEAP_ENTRY entry{};
        ::HeapLock(heap);
        while (::HeapWalk(heap, &entry)) {
            const bool busy = (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0;
            usage[kHeapBytes] += busy ? entry.cbData : 0;
            usage[kHeapBlocks] += busy ? 1 : 0;
        }
        ::HeapUnlock(heap);
    }
}

std::uint64_t Increase(std::uint64_t before, std::uint64_t after) {
    return after > before ? after - before : 0;
}

} // namespace

Usage MeasureUsage() {
    Usage usage{CountHandles(),
                CountThreads(),
                CountWindows(),
                CountGdiObjects(),
                ::GetGuiResources(::GetCurrentProcess(), GR_USEROBJECTS),
                CountPrivateBytes()};
    MeasureHeaps(usage);
    return usage;
}

std::string Describe(const Usage& usage) {
    std::string text;
    for (std::size_t i = 0; i < kGauges; ++i) {
        text += fmt::format("{}{} {}", i == 0 ? "" : ", ", kNames[i], usage[i] != 0 ? std::to_string(usage[i]) : "?");
    }
    return text;
}

Usage ScaledGrowth(const Usage& before, const Usage& after, std::uint64_t cycles, std::uint64_t wanted) {
    Usage growth{};
    for (std::size_t i = 0; i < kGauges; ++i) {
        growth[i] = Increase(before[i], after[i]) * wanted / cycles;
    }
    return growth;
}

std::string Growth(const Usage& before, const Usage& after, const Usage& slack, const Usage& known) {
    std::string grown;
    for (std::size_t i = 0; i < kGauges; ++i) {
        if (Increase(before[i], after[i]) > slack[i] + known[i]) {
            grown += fmt::format("{}{} {} -> {}", grown.empty() ? "" : ", ", kNames[i], before[i], after[i]);
        }
    }
    return grown;
}

std::vector<std::string> GrowthOf(const Holdings& before, const Holdings& now,
                                  const std::pair<Holdings, Holdings>& usual) {
    std::vector<std::string> lines;
    for (const auto& [name, count] : now) {
        const auto in = [&name](const Holdings& holdings) {
            const auto found = holdings.find(name);
            return found != holdings.end() ? found->second : 0;
        };
        if (count > in(before) + std::max<std::int64_t>(in(usual.second) - in(usual.first), 0)) {
            lines.push_back(fmt::format("leak: {} {} -> {}", name, in(before), count));
        }
    }
    return lines;
}

} // namespace verify
