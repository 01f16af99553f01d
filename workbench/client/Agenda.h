#pragma once

#include <algorithm>
#include <chrono>
#include <functional>
#include <map>
#include <utility>

namespace meeting_client {

/// The later actions of the client, in the order of their times. One thread.
class Agenda {
public:
    using Clock = std::chrono::steady_clock;

    void After(std::chrono::milliseconds delay, std::function<void()> action) {
        entries_.emplace(Clock::now() + delay, std::move(action));
    }

    /// Time until the next action, rounded up to whole milliseconds; 0 when one is due, a second when there is none.
    std::chrono::milliseconds UntilNext() const {
        const Clock::time_point now = Clock::now();
        const auto next = entries_.empty() ? now + std::chrono::seconds(1) : entries_.begin()->first;
        return std::chrono::ceil<std::chrono::milliseconds>(std::max(next - now, Clock::duration::zero()));
    }

    /// Runs the first action if it is due. Only one, so that the caller can look at its messages in between.
    /// @return whether there was one.
    bool RunDue() {
        if (entries_.empty() || entries_.begin()->first > Clock::now()) {
            return false;
        }
        const auto action = std::move(entries_.begin()->second);
        entries_.erase(entries_.begin());
        action();
        return true;
    }

private:
    std::multimap<Clock::time_point, std::function<void()>> entries_;
};

} // namespace meeting_client
