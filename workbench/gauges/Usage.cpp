#include "workbench/gauges/Usage.h"

#include "support/UniqueResource.h"

#include <windows.h>
#include <winternl.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <span>

namespace gauges {
namespace {

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

/// Older Wine does not tell their number. Its handles, as those of Windows, are small multiples of four.
DWORD CountHandles() {
    DWORD count = 0;
    if (::GetProcessHandleCount(::GetCurrentProcess(), &count) && count != 0) {
        return count;
    }
    constexpr ULONG_PTR kHighest = 16'384;
    for (ULONG_PTR value = 4; value <= kHighest; value += 4) {
        DWORD flags = 0;
        count += ::GetHandleInformation(reinterpret_cast<HANDLE>(value), &flags) ? 1 : 0;
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

std::optional<DWORD> CountGdiObjects() {
    if (const DWORD count = ::GetGuiResources(::GetCurrentProcess(), GR_GDIOBJECTS); count != 0) {
        return count;
    }
    // Wine answers 0. The table has no documented layout: it is believed only if it shows a brush come and go.
    const DWORD before = CountGdiTable();
    UniqueGdiObject brush(::CreateSolidBrush(RGB(1, 2, 3)));
    const DWORD with = CountGdiTable();
    brush.Reset();
    const bool believed = with == before + 1 && CountGdiTable() == before;
    return believed ? std::make_optional(before) : std::nullopt;
}

std::optional<DWORD> CountUserObjects() {
    const DWORD count = ::GetGuiResources(::GetCurrentProcess(), GR_USEROBJECTS);
    return count != 0 ? std::make_optional(count) : std::nullopt; // this process always has windows
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
            usage.heapBytes += busy ? entry.cbData : 0;
            usage.heapBlocks += busy ? 1 : 0;
        }
        ::HeapUnlock(heap);
    }
}

std::string Text(const std::optional<DWORD>& count) {
    return count ? std::to_string(*count) : "not told here";
}

} // namespace

Usage MeasureUsage() {
    Usage usage;
    usage.handles = CountHandles();
    usage.gdiObjects = CountGdiObjects();
    usage.userObjects = CountUserObjects();
    usage.windows = CountWindows();
    usage.privateBytes = CountPrivateBytes();
    MeasureHeaps(usage);
    return usage;
}

std::string Describe(const Usage& usage) {
    char text[200];
    std::snprintf(text, sizeof text,
                  "handles %lu, windows %lu, GDI %s, USER %s, private %zu KiB, heaps %zu KiB in %zu blocks",
                  usage.handles, usage.windows, Text(usage.gdiObjects).c_str(), Text(usage.userObjects).c_str(),
                  usage.privateBytes / 1024, usage.heapBytes / 1024, usage.heapBlocks);
    return text;
}

} // namespace gauges
