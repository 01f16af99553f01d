#include "workbench/hostile/FastClock.h"

#include "workbench/gauges/ImportPatch.h"

namespace hostile {
namespace {

constexpr DWORD kTimes = 40;

void WINAPI SleepLess(DWORD milliseconds) {
    ::Sleep(milliseconds == 0 ? 0 : milliseconds / kTimes + 1);
}

BOOL WINAPI CountFaster(LARGE_INTEGER* count) {
    const BOOL done = ::QueryPerformanceCounter(count);
    count->QuadPart *= kTimes;
    return done;
}

} // namespace

bool QuickenClock(HMODULE module) noexcept {
    return gauges::PatchImport(module, "Sleep", reinterpret_cast<void*>(&SleepLess)) != nullptr &&
           gauges::PatchImport(module, "QueryPerformanceCounter", reinterpret_cast<void*>(&CountFaster)) != nullptr;
}

} // namespace hostile
