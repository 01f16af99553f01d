#include "workbench/hostile/Usage.h"

#include <windows.h>

#include <algorithm>
#include <iterator>
#include <span>

namespace hostile {
namespace {

std::size_t CountPrivateBytes() {
    std::size_t bytes = 0;
    MEMORY_BASIC_INFORMATION region{};
    for (const auto* at = static_cast<const std::byte*>(nullptr); ::VirtualQuery(at, &region, sizeof region) != 0;
         at = static_cast<const std::byte*>(region.BaseAddress) + region.RegionSize) {
        bytes += region.State == MEM_COMMIT && region.Type == MEM_PRIVATE ? region.RegionSize : 0;
    }
    return bytes;
}

} // namespace

Usage MeasureUsage() {
    Usage usage;
    usage.privateBytes = CountPrivateBytes();
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
    return usage;
}

} // namespace hostile
