#include "workbench/verify/faults/Injector.h"

#include "workbench/verify/core/Report.h"

#include <windows.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <iterator>

namespace verify {
namespace {

constexpr const char* kNames[] = {"allocation",   "gdiplus",   "windows",       "threads",         "messages",
                                  "resources",    "registry",  "shell",         "files-read-only", "files-full",
                                  "files-shared", "com",       "conversion",    "modules",         "json",
                                  "host-status",  "host-null", "host-exception"};
static_assert(std::size(kNames) == kKinds);

std::atomic<bool> g_armed{false};
Order g_order; // these are written while nothing is armed
DWORD g_hostThread = 0;
std::array<std::atomic<std::uint64_t>, kKinds> g_counts{};
std::atomic<bool> g_struck{false};

} // namespace

std::string Order::Round() const {
    return std::string(kNames[static_cast<std::size_t>(kind)]) + (onward ? "+" : "");
}

std::vector<Order> Rounds(const std::string& name) {
    std::vector<Order> rounds;
    for (std::size_t i = 0; i < kKinds; ++i) {
        const auto kind = static_cast<Kind>(i);
        rounds.push_back({kind, 0, false});
        if (kind == Kind::Allocation || (Mask(kind) & kFileKinds) != 0) {
            rounds.push_back({kind, 0, true});
        }
    }
    std::erase_if(rounds, [&](const Order& round) { return !name.empty() && round.Round() != name; });
    return rounds;
}

void Arm(const Order& order) {
    g_order = order;
    g_hostThread = ::GetCurrentThreadId();
    std::fill(g_counts.begin(), g_counts.end(), 0);
    g_struck = false;
    g_armed = true;
}

Counts Disarm() {
    g_armed = false;
    Counts counts{};
    std::copy(g_counts.begin(), g_counts.end(), counts.begin());
    return counts;
}

bool HasStruck() {
    return g_struck;
}

bool IsStruck() {
    return g_armed && g_struck;
}

Kind OrderedKind() {
    return g_order.kind;
}

bool Strikes(const char* function, KindMask kinds, bool hostThreadOnly) noexcept {
    if (!g_armed || (hostThreadOnly && ::GetCurrentThreadId() != g_hostThread)) {
        return false;
    }
    bool strikes = false;
    for (std::size_t i = 0; i < kKinds; ++i) {
        if ((kinds & Mask(static_cast<Kind>(i))) != 0) {
            const std::uint64_t number = ++g_counts[i];
            strikes = strikes || (static_cast<Kind>(i) == g_order.kind && g_order.number != 0 &&
                                  (number == g_order.number || (g_order.onward && number > g_order.number)));
        }
    }
    if (strikes && !g_struck.exchange(true)) { // at once: the process may not live to tell it later
        char text[100];
        std::snprintf(text, sizeof text, "failed %s\n", function);
        SayRaw(text);
    }
    return strikes;
}

void GiveReason(KindMask kinds, const Failure& failure) noexcept {
    int number = failure.error;
    auto error = static_cast<DWORD>(failure.error);
    if ((kinds & kFileKinds) != 0) {
        number = g_order.kind == Kind::DiskFull ? ENOSPC : EACCES;
        error = g_order.kind == Kind::DiskFull  ? ERROR_DISK_FULL
                : g_order.kind == Kind::Sharing ? ERROR_SHARING_VIOLATION
                                                : ERROR_ACCESS_DENIED;
    }
    if (error != 0) { // the runtime's functions leave the platform's error behind, too
        errno = number;
        ::SetLastError(error);
    }
}

std::string CutText(std::string text) {
    std::size_t kept = 0;
    while (kept < text.size() && !Strikes("text", Mask(Kind::Json))) {
        ++kept;
    }
    text.resize(kept);
    return text;
}

} // namespace verify
