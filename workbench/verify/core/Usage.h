#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace verify {

/// The kinds of resources of this process that are measured. Memory is in bytes.
enum Gauge : std::size_t {
    kHandles,
    kThreads,
    kWindows, // top-level and message-only ones
    kGdiObjects,
    kUserObjects,
    kPrivateBytes, // committed
    kHeapBytes,    // allocated, of all heaps
    kHeapBlocks,
    kGauges
};

/// One number each; 0 where the system does not tell.
using Usage = std::array<std::uint64_t, kGauges>;

Usage MeasureUsage();
std::string Describe(const Usage& usage);

inline constexpr std::uint64_t kNotJudged = UINT64_MAX / 4;

/// The growth that some cycles cause, scaled to another number of cycles.
Usage ScaledGrowth(const Usage& before, const Usage& after, std::uint64_t cycles, std::uint64_t wanted);

/// Names the resources that have grown by more than `slack` and `known` allow; empty when none has.
std::string Growth(const Usage& before, const Usage& after, const Usage& slack, const Usage& known = {});

/// Things that are held and how many of each.
using Holdings = std::map<std::string, std::int64_t>;

/// A line for each thing of which `now` has more than `before` and what `usual`, two holdings one clean run apart, grew
/// by.
std::vector<std::string> GrowthOf(const Holdings& before, const Holdings& now,
                                  const std::pair<Holdings, Holdings>& usual = {});

} // namespace verify
