#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

namespace gauges {

/// Ends the process when the main thread has given no sign of life for too long, and says what it was doing.
class Watchdog {
public:
    explicit Watchdog(std::chrono::seconds limit);
    ~Watchdog();
    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;

    void Doing(std::string what); // a sign of life, as the next one
    void Beat();

private:
    void Watch() noexcept;

    const std::chrono::seconds limit_;
    std::mutex lock_;
    std::condition_variable ended_;
    bool stop_ = false;
    std::string what_ = "starting";
    std::chrono::steady_clock::time_point lastSign_ = std::chrono::steady_clock::now();
    std::thread thread_; // last: it uses the others
};

} // namespace gauges
