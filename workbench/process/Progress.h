#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <string>
#include <thread>

namespace process {

/// Tells on the standard output that something takes longer than a second: its text, then a dot for each further
/// second. It lasts as long as the thread object.
inline std::jthread ShowProgress(std::string text) {
    return std::jthread([text = std::move(text)](std::stop_token stop) {
        std::mutex lock;
        std::unique_lock hold(lock);
        std::condition_variable_any wake;
        const char* next = text.c_str();
        while (!wake.wait_for(hold, stop, std::chrono::seconds(1), [&] { return stop.stop_requested(); })) {
            std::fputs(next, stdout);
            std::fflush(stdout);
            next = ".";
        }
        std::fputs(next == text.c_str() ? "" : "\n", stdout);
    });
}

} // namespace process
