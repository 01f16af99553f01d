#pragma once

#include <cmath>
#include <cstdint>
#include <limits>

/// Times cross to the meeting client as Unix seconds (UTC) and to the host as OLE automation dates (days since
/// 1899-12-30, UTC). Pure functions; any thread.

/// Days from the automation epoch to 1970-01-01.
inline constexpr double kOleDateOfUnixEpoch = 25569.0;
inline constexpr double kSecondsPerDay = 86400.0;

inline double OleDateFromUnixSeconds(int64_t seconds) noexcept {
    return static_cast<double>(seconds) / kSecondsPerDay + kOleDateOfUnixEpoch;
}

/// Halves are rounded away from zero. A date beyond the range of seconds gives the nearest end of it, NaN gives 0.
inline int64_t UnixSecondsFromOleDate(double date) noexcept {
    const double seconds = std::round((date - kOleDateOfUnixEpoch) * kSecondsPerDay);
    constexpr double kTooLarge = 9223372036854775808.0; // 2^63, the first value that does not fit
    if (std::isnan(seconds)) {
        return 0;
    }
    if (seconds >= kTooLarge) {
        return (std::numeric_limits<int64_t>::max)();
    }
    if (seconds < -kTooLarge) {
        return (std::numeric_limits<int64_t>::min)();
    }
    return static_cast<int64_t>(seconds);
}
