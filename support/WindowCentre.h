#pragma once

#include <cstdint>

/// The middle of an edge, in pixels: an odd width puts it on the lower coordinate. Defined for every pair of
/// coordinates.
constexpr int32_t Centre(int32_t low, int32_t high) noexcept {
    return static_cast<int32_t>(low + (static_cast<int64_t>(high) - low) / 2);
}
