#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace faults {

/// The resources that the module has received and not released. The hooks fill it; any thread.
struct Holdings {
    std::map<std::string, std::size_t> counts; // what is held and how many, zeros left out

    bool operator==(const Holdings&) const = default;
};

// For the hooks. None of them touches errno or the last error.
void BlockGiven(void* block, std::size_t bytes) noexcept;
void BlockTaken(void* block) noexcept;
// These two the platform may free on the module's behalf.
void GlobalGiven(void* block) noexcept; // of GlobalAlloc
void BitmapGiven(void* bitmap) noexcept;

/// A counter of things that are opened and closed; made once for each name and never destroyed.
std::int64_t* BalanceOf(const char* name);

/// Starts to watch the memory of COM's allocator, texts included, which others may free as well.
void WatchComMemory();

Holdings TakeHoldings();
/// A line for each kind of thing of which `now` has more than `before` and what `usual`, two clean runs' holdings one
/// after the other, grew by.
std::vector<std::string> GrowthOf(const Holdings& before, const Holdings& now,
                                  const std::pair<Holdings, Holdings>& usual = {});

/// Where blocks of the module's heap that are still held and were given after `mark` come from, for reading.
std::size_t MarkBlocks();
std::vector<std::string> BlocksSince(std::size_t mark);

} // namespace faults
