#include "support/ProcessLock.h"

#include <atomic>
#include <cwchar>
#include <iterator>

namespace {

constexpr unsigned kRoundsBeforeSleep = 100; // a line takes some ten microseconds
constexpr unsigned kRoundsPerLook = 16;      // of a millisecond each, until the owner is looked at again
constexpr ULONGLONG kOneOwnerLimit = 1'000;  // ms that one line or one rotation may take
constexpr ULONGLONG kWholeLimit = 3'000;     // ms; nobody is kept out for so long unless the word is tampered with

// The name of a kernel object must not hold separators, so a hash of the path stands for it (FNV-1a).
uint64_t HashOf(const char* text) noexcept {
    uint64_t hash = 0xCBF29CE484222325;
    for (; *text != '\0'; ++text) {
        hash = (hash ^ static_cast<unsigned char>(*text)) * 0x100000001B3;
    }
    return hash;
}

DWORD OwnerOf(uint64_t word) noexcept {
    return static_cast<DWORD>(word);
}

bool HasEnded(DWORD process) noexcept {
    const UniqueHandle handle(::OpenProcess(SYNCHRONIZE, FALSE, process));
    if (!handle) {
        return ::GetLastError() == ERROR_INVALID_PARAMETER; // else it is there, but not ours to look at
    }
    return ::WaitForSingleObject(handle.Get(), 0) == WAIT_OBJECT_0;
}

} // namespace

ProcessLock::ProcessLock(const char* path) noexcept {
    wchar_t name[64];
    _snwprintf(name, std::size(name), L"Local\\NembraLog-%016I64x", static_cast<unsigned long long>(HashOf(path)));
    mapping_.Reset(::CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, sizeof(uint64_t), name));
    word_ = mapping_ ? static_cast<uint64_t*>(::MapViewOfFile(mapping_.Get(), FILE_MAP_WRITE, 0, 0, sizeof(uint64_t)))
                     : nullptr;
    // Whoever made it first may only have reserved it, and the first look would be a crash.
    MEMORY_BASIC_INFORMATION memory{};
    if (word_ != nullptr && (::VirtualQuery(word_, &memory, sizeof(memory)) == 0 || memory.State != MEM_COMMIT)) {
        ::UnmapViewOfFile(word_);
        word_ = nullptr;
    }
}

ProcessLock::~ProcessLock() {
    if (word_ != nullptr) {
        ::UnmapViewOfFile(word_);
    }
}

// A word of this process is one that a killed thread left behind: the caller is alone in the process.
bool ProcessLock::TryTake(uint64_t seen) noexcept {
    const uint64_t wanted = (((seen >> 32) + 1) << 32) | ::GetCurrentProcessId();
    if (!std::atomic_ref(*word_).compare_exchange_strong(seen, wanted)) {
        return false;
    }
    mine_ = wanted;
    return true;
}

void ProcessLock::Lock() noexcept {
    if (word_ == nullptr) {
        return;
    }
    const uint64_t seen = std::atomic_ref(*word_).load();
    const bool free = OwnerOf(seen) == 0 || OwnerOf(seen) == ::GetCurrentProcessId();
    if (!free || !TryTake(seen)) {
        Wait();
    }
}

void ProcessLock::Wait() noexcept {
    const ULONGLONG begin = ::GetTickCount64();
    ULONGLONG sameSince = begin;
    uint64_t last = 0;
    for (unsigned round = 0; ::GetTickCount64() - begin < kWholeLimit; ++round) {
        const uint64_t seen = std::atomic_ref(*word_).load();
        if (seen != last) {
            last = seen;
            sameSince = ::GetTickCount64();
        }
        const DWORD owner = OwnerOf(seen);
        const bool look = round > kRoundsBeforeSleep && round % kRoundsPerLook == 0;
        const bool takeable = owner == 0 || owner == ::GetCurrentProcessId() ||
                              ::GetTickCount64() - sameSince >= kOneOwnerLimit || (look && HasEnded(owner));
        if (takeable && TryTake(seen)) {
            return;
        }
        round < kRoundsBeforeSleep ? static_cast<void>(::SwitchToThread()) : ::Sleep(1);
    }
    ::UnmapViewOfFile(word_); // From here on without: a mixed line is better than a host that stands still.
    word_ = nullptr;
}

void ProcessLock::Renew() noexcept {
    if (word_ != nullptr && std::atomic_ref(*word_).load() == mine_) {
        TryTake(mine_);
    }
}

void ProcessLock::Unlock() noexcept {
    if (word_ != nullptr) {
        uint64_t mine = mine_; // another process may have taken it meanwhile; then it stays theirs
        std::atomic_ref(*word_).compare_exchange_strong(mine, mine & ~uint64_t{UINT32_MAX});
    }
}
