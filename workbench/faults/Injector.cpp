#include "workbench/faults/Injector.h"

#include <windows.h>

#include <atomic>
#include <cerrno>
#include <iterator>
#include <mutex>

namespace faults {
namespace {

std::atomic<bool> g_armed{false};
Order g_order; // these are written while nothing is armed
DWORD g_hostThread = 0;
std::array<std::atomic<std::uint64_t>, kKinds> g_counts{};
std::atomic<const HookInfo*> g_struck{nullptr};
bool g_keepStacks = false;
std::vector<void*> g_stack;

void KeepStack() {
    void* frames[48];
    const USHORT count = ::RtlCaptureStackBackTrace(2, static_cast<ULONG>(std::size(frames)), frames, nullptr);
    g_stack.assign(frames, frames + count);
}

} // namespace

void Arm(const Order& order) {
    g_order = order;
    g_hostThread = ::GetCurrentThreadId();
    for (auto& count : g_counts) {
        count = 0;
    }
    g_struck = nullptr;
    g_stack.clear();
    g_armed = true;
}

Counts Disarm() {
    g_armed = false;
    Counts counts{};
    for (std::size_t i = 0; i < kKinds; ++i) {
        counts[i] = g_counts[i];
    }
    return counts;
}

const HookInfo* Struck() {
    return g_struck;
}

void KeepStacks(bool on) {
    g_keepStacks = on;
}

bool KeepsStacks() {
    return g_keepStacks;
}

const std::vector<void*>& StackOfFailure() {
    return g_stack;
}

bool Strikes(const HookInfo& hook) noexcept {
    if (!g_armed || (hook.hostThreadOnly && ::GetCurrentThreadId() != g_hostThread)) {
        return false;
    }
    bool strikes = false;
    for (std::size_t i = 0; i < kKinds; ++i) {
        if ((hook.kinds & Mask(static_cast<Kind>(i))) == 0) {
            continue;
        }
        const std::uint64_t number = ++g_counts[i];
        if (static_cast<Kind>(i) == g_order.kind && g_order.number != 0) {
            strikes = number == g_order.number || (g_order.onward && number > g_order.number);
        }
    }
    if (!strikes) {
        return false;
    }
    const HookInfo* nobody = nullptr;
    if (g_struck.compare_exchange_strong(nobody, &hook) && g_keepStacks) {
        KeepStack();
    }
    GiveReason(hook);
    return true;
}

void GiveReason(const HookInfo& hook) noexcept {
    int number = hook.code;
    DWORD error = static_cast<DWORD>(hook.code);
    if ((hook.kinds & kFileKinds) != 0) {
        switch (g_order.kind) {
        case Kind::DiskFull:
            number = ENOSPC;
            error = ERROR_DISK_FULL;
            break;
        case Kind::Sharing:
            number = EACCES;
            error = ERROR_SHARING_VIOLATION;
            break;
        default:
            number = EACCES;
            error = ERROR_ACCESS_DENIED;
            break;
        }
    }
    if (hook.reason == Reason::Errno) {
        errno = number;
        ::SetLastError(error); // the runtime leaves the platform's error behind
    } else if (hook.reason == Reason::LastError) {
        ::SetLastError(error);
    }
}

} // namespace faults
