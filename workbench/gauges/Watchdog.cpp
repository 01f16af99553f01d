#include "workbench/gauges/Watchdog.h"

#include <windows.h>

#include <cstdio>

namespace gauges {
namespace {

constexpr UINT kNoAnswer = 3; // exit code

} // namespace

Watchdog::Watchdog(std::chrono::seconds limit) : limit_(limit), thread_([this] { Watch(); }) {}

Watchdog::~Watchdog() {
    {
        const std::scoped_lock lock(lock_);
        stop_ = true;
    }
    ended_.notify_all();
    thread_.join();
}

void Watchdog::Doing(std::string what) {
    const std::scoped_lock lock(lock_);
    what_ = std::move(what);
    lastSign_ = std::chrono::steady_clock::now();
}

void Watchdog::Beat() {
    const std::scoped_lock lock(lock_);
    lastSign_ = std::chrono::steady_clock::now();
}

void Watchdog::Watch() noexcept {
    std::unique_lock lock(lock_);
    while (!stop_) {
        ended_.wait_for(lock, std::chrono::milliseconds(500));
        if (!stop_ && std::chrono::steady_clock::now() - lastSign_ > limit_) {
            std::printf("FAILED: no sign of life for %lld s; it was doing: %s\n",
                        static_cast<long long>(limit_.count()), what_.c_str());
            std::fflush(stdout);
            ::TerminateProcess(::GetCurrentProcess(), kNoAnswer); // the jobs of its helpers go with it
        }
    }
}

} // namespace gauges
