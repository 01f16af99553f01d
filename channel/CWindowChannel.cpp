#include "channel/CWindowChannel.h"

#include "channel/ChannelGlobals.h"
#include "channel/Tick.h"

#include <windows.h>

#include <algorithm>
#include <cstdint>

namespace {

constexpr int kFlushPasses = 15;

int64_t CountsPerMillisecond() {
    LARGE_INTEGER frequency{};
    ::QueryPerformanceFrequency(&frequency);
    return std::max<int64_t>(frequency.QuadPart / 1000, 1);
}

uint32_t TickClock() {
    static const int64_t counts = CountsPerMillisecond();
    LARGE_INTEGER now{};
    ::QueryPerformanceCounter(&now);
    return static_cast<uint32_t>(now.QuadPart / counts);
}

/// Runs one step of the task. A step that throws (exhausted memory, a throwing callback) must not end the thread.
template <class Step>
void GuardStep(Step&& step) noexcept {
    try {
        step();
    } catch (...) {
        // The message of this step is lost. The next step runs as usual.
    }
}

} // namespace

void CWindowChannel::Run() {
    while (!StopRequested()) {
        Tick();
        ::Sleep(kTickMs);
    }
    if (task_ != nullptr) {
        Flush();
    }
}

void CWindowChannel::Tick() noexcept {
    const uint32_t now = TickClock();
    if (!IsTickDue(now, g_lastTick)) {
        return;
    }
    if (task_ != nullptr) {
        GuardStep([this] { task_->ProcessRecvQueue(); });
        GuardStep([this] { task_->ProcessSendQueue(); });
    }
    g_lastTick = now;
}

void CWindowChannel::Flush() noexcept {
    task_->Log("CWindowChannel Thread stop, start send last msg");
    for (int pass = 0; pass < kFlushPasses; ++pass) {
        GuardStep([this] { task_->ProcessSendQueue(); });
        GuardStep([this] { task_->ProcessRecvQueue(); });
        ::Sleep(kTickMs);
    }
    task_->Log("CWindowChannel Thread stop, end last msg end");
    task_->OnChannelStop();
}
