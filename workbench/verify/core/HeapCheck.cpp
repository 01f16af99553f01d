#include "workbench/verify/core/HeapCheck.h"

#include "workbench/verify/core/ImportPatch.h"

#include <malloc.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <span>
#include <utility>

namespace verify {
namespace {

constexpr std::size_t kSizes[] = {1, 5, 16, 40, 100, 1000, 5000, 70'000};

std::atomic<std::uint64_t> g_watchedFrees{0};
std::atomic<std::uint64_t> g_damagedFrees{0};

using Free = void(__cdecl*)(void*);
using Resize = void*(__cdecl*)(void*, std::size_t);
// One C library serves all modules, so one original each is enough.
Free g_free = nullptr;
Resize g_resize = nullptr;

void CheckBlock(void* block) noexcept {
    if (block == nullptr) {
        return;
    }
    if (!::HeapValidate(reinterpret_cast<HANDLE>(::_get_heap_handle()), 0, block)) {
        ++g_damagedFrees;
    }
}

/// Blocks that were given back stay here for a while, filled: a late write to one is found when it leaves. The
/// system fills them too, but hands them out again before anybody looks.
class Quarantine {
public:
    void Take(void* block) noexcept {
        const std::size_t size = ::_msize(block);
        if (size == 0 || size > kLargest) {
            g_free(block);
            return;
        }
        ::AcquireSRWLockExclusive(&lock_);
        if (IsFilled(block, size) && std::find(std::begin(held_), std::end(held_), block) != std::end(held_)) {
            ++g_damagedFrees; // given back twice
        } else {
            std::memset(block, kFilling, size);
            Release(std::exchange(held_[next_], block));
            next_ = (next_ + 1) % std::size(held_);
        }
        ::ReleaseSRWLockExclusive(&lock_);
    }

    void Empty() noexcept {
        ::AcquireSRWLockExclusive(&lock_);
        for (void*& block : held_) {
            Release(std::exchange(block, nullptr));
        }
        ::ReleaseSRWLockExclusive(&lock_);
    }

private:
    static constexpr std::size_t kLargest = 16 * 1024; // bytes; larger ones go at once
    static constexpr int kFilling = 0xDD;

    static bool IsFilled(const void* block, std::size_t size) noexcept {
        const std::span bytes(static_cast<const unsigned char*>(block), size);
        return std::all_of(bytes.begin(), bytes.end(), [](unsigned char byte) { return byte == kFilling; });
    }

    static void Release(void* block) noexcept {
        if (block != nullptr) {
            g_damagedFrees += IsFilled(block, ::_msize(block)) ? 0 : 1;
            CheckBlock(block);
            g_free(block);
        }
    }

    SRWLOCK lock_ = SRWLOCK_INIT;
    void* held_[1024] = {};
    std::size_t next_ = 0;
};
Quarantine g_quarantine;

void __cdecl CheckedFree(void* block) {
    if (block != nullptr) {
        ++g_watchedFrees;
        CheckBlock(block);
        g_quarantine.Take(block);
    }
}

void* __cdecl CheckedResize(void* block, std::size_t size) {
    CheckBlock(block);
    return g_resize(block, size);
}

/// Changes one byte for as long as it lives. Volatile, as the compiler sees nobody who reads the byte.
class Damage {
public:
    explicit Damage(char* at) : at_(at), kept_(*at_) { *at_ = static_cast<char>(kept_ ^ 0x55); }
    ~Damage() { *at_ = kept_; }
    Damage(const Damage&) = delete;
    Damage& operator=(const Damage&) = delete;

private:
    volatile char* at_;
    char kept_;
};

bool IsSeen(char* at) {
    const Damage damage(at);
    return !HeapsAreSound();
}

/// @param act what makes the damage and gives the block back. The counts are as before after it.
template <class Act>
bool IsSeenInPassing(Act&& act) {
    const std::uint64_t damaged = g_damagedFrees;
    const std::uint64_t watched = g_watchedFrees;
    act();
    const bool seen = g_damagedFrees != damaged;
    g_damagedFrees = damaged;
    g_watchedFrees = watched;
    return seen;
}

bool IsSeenWhenGivenBack(char* block, std::size_t size) {
    return IsSeenInPassing([&] {
        const Damage damage(block + size);
        CheckBlock(block);
    });
}

/// Plays a module whose frees are watched.
bool IsLateWriteSeen(std::size_t size) {
    return IsSeenInPassing([&] {
        char* volatile block = static_cast<char*>(std::malloc(size));
        CheckedFree(block);
        block[size / 2] = 1;
        g_quarantine.Empty();
    });
}

bool IsDoubleFreeSeen(std::size_t size) {
    return IsSeenInPassing([&] {
        void* volatile block = std::malloc(size);
        CheckedFree(block);
        CheckedFree(block);
        g_quarantine.Empty();
    });
}

} // namespace

bool HeapsAreSound() noexcept {
    HANDLE heaps[64];
    const DWORD count = ::GetProcessHeaps(static_cast<DWORD>(std::size(heaps)), heaps);
    bool sound = true;
    for (HANDLE heap : std::span(heaps, std::min<std::size_t>(count, std::size(heaps)))) {
        sound = ::HeapValidate(heap, 0, nullptr) && sound;
    }
    return sound;
}

void ReleaseFreed() noexcept {
    g_quarantine.Empty();
}

bool WatchFrees(HMODULE module) noexcept {
    void* const free = PatchImport(module, "free", reinterpret_cast<void*>(&CheckedFree));
    void* const resize = PatchImport(module, "realloc", reinterpret_cast<void*>(&CheckedResize));
    g_free = free != nullptr ? reinterpret_cast<Free>(free) : g_free;
    g_resize = resize != nullptr ? reinterpret_cast<Resize>(resize) : g_resize;
    return free != nullptr;
}

std::uint64_t WatchedFrees() noexcept {
    return g_watchedFrees;
}

std::uint64_t DamagedFrees() noexcept {
    return g_damagedFrees;
}

std::vector<std::string> MissedHeapFaults() {
    if (g_free == nullptr) {
        g_free = &std::free;
    }
    std::vector<std::string> missed;
    const auto expect = [&missed](bool seen, const char* what, std::size_t size) {
        if (!seen) {
            missed.push_back(std::string(what) + " a block of " + std::to_string(size) + " bytes");
        }
    };
    for (const std::size_t size : kSizes) {
        // Volatile too: the compiler knows what belongs to a block, and for how long.
        char* volatile block = static_cast<char*>(std::malloc(size));
        expect(IsSeen(block + size), "a byte behind", size);
        expect(IsSeen(block - 1), "a byte before", size);
        expect(IsSeenWhenGivenBack(block, size), "a byte behind, when it is given back,", size);
        if (size < kSizes[std::size(kSizes) - 1]) { // larger ones are not kept
            expect(IsLateWriteSeen(size), "a late write to", size);
            expect(IsDoubleFreeSeen(size), "giving back twice", size);
        }
        std::free(block);
        expect(IsSeen(block), "a byte in the freed", size);
    }
    if (!HeapsAreSound()) {
        missed.push_back("the heaps are damaged already");
    }
    return missed;
}

} // namespace verify
