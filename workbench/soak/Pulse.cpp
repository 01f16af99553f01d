#include "workbench/soak/Pulse.h"

#include <windows.h>

namespace soak {
namespace {

constexpr const wchar_t* kClientWindow = L"NbmProxyOutlookClientWnd";
// A third of the channel's time limit. A message that reaches this limit is noticed even when this thread is late.
constexpr std::chrono::milliseconds kSlow{1000};
constexpr std::chrono::milliseconds kBetween{100};
constexpr UINT kPatience = 5000; // ms; the next question follows

void AskClient() noexcept {
    if (const HWND window = ::FindWindowExW(HWND_MESSAGE, nullptr, kClientWindow, kClientWindow)) {
        ::SendMessageTimeoutW(window, WM_NULL, 0, 0, SMTO_NORMAL, kPatience, nullptr);
    }
}

} // namespace

Pulse::Pulse() : thread_([this] { Run(); }) {}

Pulse::~Pulse() {
    {
        const std::scoped_lock lock(lock_);
        stop_ = true;
    }
    wake_.notify_all();
    thread_.join();
}

bool Pulse::IsLate() const {
    return Clock::now() - beat_ > kSlow;
}

bool Pulse::WasSlow() {
    const std::scoped_lock lock(lock_);
    const bool slow = slow_ || IsLate();
    slow_ = false;
    return slow;
}

void Pulse::Run() noexcept {
    std::unique_lock lock(lock_);
    while (!stop_) {
        slow_ = slow_ || IsLate();
        beat_ = Clock::now();
        lock.unlock();
        AskClient();
        lock.lock();
        wake_.wait_for(lock, kBetween);
    }
}

} // namespace soak
