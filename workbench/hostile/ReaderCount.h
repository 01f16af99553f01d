#pragma once

#include "workbench/gauges/AddinLogTail.h"

#include <cstdint>

namespace hostile {

/// Counts in the add-in's own log what its reader did with each message. Texts that do not fit a log line are missing
/// there, so it is the lines about the reader's verdict that count: one for each message.
class ReaderCount {
public:
    /// Takes in what was written since the last time.
    void Read();

    std::uint64_t Accepted() const noexcept { return accepted_; } // notifications, of whatever type
    std::uint64_t Refused() const noexcept { return refused_; }   // no JSON, or no notification
    std::uint64_t Taken() const noexcept { return accepted_ + refused_; }

private:
    gauges::AddinLogTail tail_;
    std::uint64_t accepted_ = 0;
    std::uint64_t refused_ = 0;
};

} // namespace hostile
