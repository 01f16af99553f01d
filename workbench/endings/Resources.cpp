#include "workbench/endings/Resources.h"

#include "support/UniqueResource.h"

#include <windows.h>
#include <tlhelp32.h>

#include <algorithm>

namespace endings {
namespace {

constexpr std::size_t kHandleSlack = 8;
constexpr std::size_t kObjectSlack = 4;
constexpr std::size_t kThreadSlack = 2;          // the system's own come and go
constexpr std::size_t kPrivateSlack = 4U << 20;  // bytes: a heap grows by such blocks
constexpr std::size_t kHeapSlack = 64U << 10;    // bytes
constexpr unsigned long long kBytesPerCycle = 8; // less than the smallest allocation

struct SnapshotTraits {
    using Value = HANDLE;
    static Value Empty() noexcept { return INVALID_HANDLE_VALUE; }
    static void Close(Value snapshot) noexcept { ::CloseHandle(snapshot); }
};
using UniqueSnapshot = UniqueResource<SnapshotTraits>;

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

/// The handles of this process lie below a gap that is larger than any that closed ones leave.
DWORD CountHandles() {
    constexpr ULONG_PTR kGap = 4 * 4096;
    DWORD count = 0;
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

std::size_t Increase(std::size_t before, std::size_t after) {
    return after > before ? after - before : 0;
}

} // namespace

Resources MeasureResources() {
    Resources resources{gauges::MeasureUsage(), CountThreads()};
    resources.usage.handles = CountHandles();
    return resources;
}

std::string Describe(const Resources& resources) {
    return gauges::Describe(resources.usage) + ", threads " + std::to_string(resources.threads);
}

std::string Growth(const Trend& trend, const Trend& allowed) {
    std::string grown;
    const auto check = [&](const char* what, auto count, std::size_t slack) {
        const std::size_t first = count(trend.before);
        const std::size_t last = count(trend.after);
        const std::size_t known = Increase(count(allowed.before), count(allowed.after));
        if (Increase(first, last) > (allowed.cycles != 0 ? known * trend.cycles / allowed.cycles : 0) + slack) {
            grown += (grown.empty() ? "" : ", ") + std::string(what) + " grew from " + std::to_string(first) + " to " +
                     std::to_string(last);
        }
    };
    using Held = const Resources&;
    const auto heapSlack = std::max(kHeapSlack, static_cast<std::size_t>(trend.cycles * kBytesPerCycle));
    check(
        "handles", [](Held held) { return held.usage.handles; }, kHandleSlack);
    check(
        "windows", [](Held held) { return held.usage.windows; }, 0);
    check(
        "GDI objects", [](Held held) { return held.usage.gdiObjects.value_or(0); }, kObjectSlack);
    check(
        "USER objects", [](Held held) { return held.usage.userObjects.value_or(0); }, kObjectSlack);
    check(
        "threads", [](Held held) { return held.threads; }, kThreadSlack);
    check(
        "private bytes", [](Held held) { return held.usage.privateBytes; }, kPrivateSlack);
    check(
        "allocated bytes", [](Held held) { return held.usage.heapBytes; }, heapSlack);
    return grown;
}

} // namespace endings
