#pragma once

#include "workbench/gauges/AddinLogTail.h"

#include <cstdint>
#include <string_view>

namespace hostile {

/// Counts of the results of the add-in's reader.
struct ReaderVerdicts {
    std::uint64_t noJson = 0;
    std::uint64_t noNotification = 0; // JSON, but no object, or without a type
    std::uint64_t scheduled = 0;      // notifications, from here on
    std::uint64_t modified = 0;
    std::uint64_t cancelled = 0;
    std::uint64_t changed = 0;
    std::uint64_t otherType = 0;

    std::uint64_t Refused() const { return noJson + noNotification; }
    std::uint64_t Accepted() const { return scheduled + modified + cancelled + changed + otherType; }
    std::uint64_t Taken() const { return Refused() + Accepted(); }
    ReaderVerdicts Since(const ReaderVerdicts& before) const;
};

/// Counts the verdicts in the add-in's own log. Texts that do not fit a log line are missing there, so it is the lines
/// about the verdict that count: one for each message.
class ReaderCount {
public:
    /// Takes in what was written since the last time.
    void Read();
    const ReaderVerdicts& Verdicts() const noexcept { return verdicts_; }

private:
    std::uint64_t& TypeCount(std::string_view type);

    gauges::AddinLogTail tail_;
    ReaderVerdicts verdicts_;
};

} // namespace hostile
