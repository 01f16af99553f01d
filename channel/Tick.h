#pragma once

#include <cstdint>

/// The pause between two ticks of the channel, in milliseconds. Needs no Windows.
inline constexpr uint32_t kTickMs = 20;

/// @return true when more than `kTickMs` lie between two readings of a 32-bit millisecond clock. The clock wraps after
/// 49.7 days.
constexpr bool IsTickDue(uint32_t now, uint32_t last) noexcept {
    return now - last > kTickMs;
}
