#include "workbench/verify/core/Process.h"

#include "workbench/verify/core/Report.h"

#include "workbench/process/OwnProgram.h"

#include <condition_variable>
#include <cstdio>
#include <stdexcept>

namespace verify {
namespace {

/// Whether an exception's code tells of a fault that no program survives, unlike a C++ exception.
bool IsCrash(DWORD code) {
    constexpr DWORD kHeapCorruption = 0xC0000374;
    constexpr DWORD kFastFail = 0xC0000409; // a stack guard found its mark overwritten, for one
    switch (code) {
    case EXCEPTION_ACCESS_VIOLATION:
    case EXCEPTION_STACK_OVERFLOW:
    case EXCEPTION_ILLEGAL_INSTRUCTION:
    case EXCEPTION_PRIV_INSTRUCTION:
    case EXCEPTION_INT_DIVIDE_BY_ZERO:
    case kHeapCorruption:
    case kFastFail:
        return true;
    default:
        return false;
    }
}

LONG WINAPI OnException(EXCEPTION_POINTERS* raised) noexcept {
    const EXCEPTION_RECORD& record = *raised->ExceptionRecord;
    if (!IsCrash(record.ExceptionCode)) {
        return EXCEPTION_CONTINUE_SEARCH;
    }
    char text[100];
    std::snprintf(text, sizeof text, "crash: 0x%08lx at %p, thread %lu\n", record.ExceptionCode,
                  record.ExceptionAddress, ::GetCurrentThreadId());
    SayRaw(text);
    ::TerminateProcess(::GetCurrentProcess(), record.ExceptionCode);
    return EXCEPTION_CONTINUE_SEARCH;
}

} // namespace

process::ChildProcess StartChild(const std::vector<std::wstring>& arguments, process::Streams streams) {
    return process::ChildProcess(process::ProgramPath(), arguments, streams);
}

UniqueHandle SharedEvent(const std::wstring& name) {
    UniqueHandle event(::CreateEventW(nullptr, TRUE, FALSE, name.c_str()));
    if (!event) {
        throw std::runtime_error("no event");
    }
    return event;
}

std::wstring NewName() {
    static unsigned next = 0;
    return L"NembraVerify-" + std::to_wstring(::GetCurrentProcessId()) + L"-" + std::to_wstring(++next);
}

void ReportCrashes() {
    ::AddVectoredExceptionHandler(1, &OnException);
}

Ticker::Ticker(std::chrono::milliseconds between, std::function<void()> tick)
    : thread_([between, tick = std::move(tick)](std::stop_token stop) {
          std::mutex lock;
          std::unique_lock hold(lock);
          std::condition_variable_any ended;
          while (!ended.wait_for(hold, stop, between, [&stop] { return stop.stop_requested(); })) {
              tick();
          }
      }) {}

Watchdog::Watchdog(std::chrono::seconds limit)
    : limit_(limit), ticker_(std::chrono::milliseconds(500), [this] { Look(); }) {}

void Watchdog::Doing(std::string what) {
    Beat();
    const std::scoped_lock lock(lock_);
    what_ = std::move(what);
}

void Watchdog::Beat() {
    const std::scoped_lock lock(lock_);
    lastSign_ = std::chrono::steady_clock::now();
}

void Watchdog::Look() {
    const std::scoped_lock lock(lock_);
    if (std::chrono::steady_clock::now() - lastSign_ > limit_) {
        char text[300];
        std::snprintf(text, sizeof text, "hang: no answer for %lld s in: %s\n", static_cast<long long>(limit_.count()),
                      what_.c_str());
        SayRaw(text);
        ::TerminateProcess(::GetCurrentProcess(), kNoAnswer); // the jobs of its helpers go with it
    }
}

} // namespace verify
