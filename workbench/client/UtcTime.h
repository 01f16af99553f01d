#pragma once

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <string>

namespace meeting_client {

/// "2025-03-04 05:06 UTC"; a time outside the years 1 to 9999 is given as its number of seconds.
inline std::string UtcText(std::int64_t seconds) {
    constexpr std::int64_t kYear1 = -62'135'596'800;
    constexpr std::int64_t kYear10000 = 253'402'300'800;
    if (seconds < kYear1 || seconds >= kYear10000) {
        return std::to_string(seconds);
    }
    const std::chrono::sys_seconds point{std::chrono::seconds(seconds)};
    const auto day = std::chrono::floor<std::chrono::days>(point);
    const std::chrono::year_month_day date(day);
    const std::chrono::hh_mm_ss<std::chrono::seconds> clock(point - day);
    char text[48];
    std::snprintf(text, sizeof text, "%04d-%02u-%02u %02d:%02d UTC", static_cast<int>(date.year()),
                  static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                  static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()));
    return text;
}

} // namespace meeting_client
