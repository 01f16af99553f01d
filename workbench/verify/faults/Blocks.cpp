#include "workbench/verify/faults/Blocks.h"

#include "workbench/verify/core/MallocSpy.h"

#include <windows.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <iterator>
#include <mutex>
#include <set>
#include <utility>

namespace verify {
namespace {

constexpr const char* kNames[] = {"",        "heap blocks", "COM blocks",  "registry keys", "file searches",
                                  "streams", "GDI+ images", "GDI+ starts", "global blocks", "bitmaps"};
static_assert(std::size(kNames) == static_cast<std::size_t>(Thing::Count));

std::array<std::atomic<std::int64_t>, std::size(kNames)> g_counts{};

struct Handles {
    std::mutex lock;
    std::set<std::pair<Thing, void*>> given;
};
// Never destroyed: threads of the module may still allocate when the process ends.
Handles& TheHandles() {
    static Handles& handles = *new Handles;
    return handles;
}

bool Lives(Thing thing, void* handle) {
    return thing == Thing::Bitmap ? ::GetObjectType(handle) == OBJ_BITMAP
                                  : ::GlobalFlags(handle) != GMEM_INVALID_HANDLE;
}

class ComMemory final : public MallocSpy {
public:
    void* STDMETHODCALLTYPE PostAlloc(void* block) noexcept override {
        Account(Thing::ComBlock, block != nullptr ? 1 : 0);
        return block;
    }
    void* STDMETHODCALLTYPE PreFree(void* block, BOOL spied) noexcept override {
        Account(Thing::ComBlock, spied ? -1 : 0);
        return block;
    }
    SIZE_T STDMETHODCALLTYPE PreRealloc(void* block, SIZE_T size, void** newBlock, BOOL spied) noexcept override {
        *newBlock = PreFree(block, spied);
        return size;
    }
    void* STDMETHODCALLTYPE PostRealloc(void* block, BOOL) noexcept override { return PostAlloc(block); }
};

} // namespace

void Account(Thing thing, int change) noexcept {
    g_counts[static_cast<std::size_t>(thing)] += change;
}

void AccountHandle(Thing thing, void* handle) noexcept {
    if (handle != nullptr) {
        const DWORD error = ::GetLastError();
        const int number = errno;
        {
            const std::scoped_lock lock(TheHandles().lock);
            TheHandles().given.emplace(thing, handle);
        }
        errno = number;
        ::SetLastError(error);
    }
}

void WatchComMemory() {
    // The cache of freed texts would look like a leak.
    using NoCache = void(WINAPI*)();
    const HMODULE automation = ::LoadLibraryW(L"oleaut32.dll");
    if (const auto noCache =
            reinterpret_cast<NoCache>(reinterpret_cast<void*>(::GetProcAddress(automation, "SetOaNoCache")))) {
        noCache();
    }
    new ComMemory; // COM keeps it
}

Holdings TakeHoldings() {
    Holdings holdings;
    for (std::size_t i = 1; i < std::size(kNames); ++i) {
        holdings[kNames[i]] = g_counts[i];
    }
    Handles& handles = TheHandles();
    const std::scoped_lock lock(handles.lock);
    std::erase_if(handles.given, [](const auto& one) { return !Lives(one.first, one.second); });
    for (const auto& [thing, handle] : handles.given) {
        ++holdings[kNames[static_cast<std::size_t>(thing)]];
    }
    return holdings;
}

} // namespace verify
