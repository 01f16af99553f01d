#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace soak {

/// Feels, on a thread of its own, whether the client's channel window answers: a sender that has waited too long gives
/// a message up, which is a loss of the channel only while the client is quick. It also notices when this thread
/// itself does not run, on a machine with too much to do.
class Pulse {
public:
    Pulse();
    ~Pulse();
    Pulse(const Pulse&) = delete;
    Pulse& operator=(const Pulse&) = delete;

    /// Whether there was no answer for long since the last call, or is none now.
    bool WasSlow();

private:
    using Clock = std::chrono::steady_clock;
    void Run() noexcept;
    bool IsLate() const;

    std::mutex lock_;
    std::condition_variable wake_;
    bool stop_ = false;
    bool slow_ = false;
    Clock::time_point beat_ = Clock::now(); // the last question to the window
    std::thread thread_;                    // last: it uses the others
};

} // namespace soak
