#pragma once

#include <cstddef>

namespace hostile {

/// Memory of this process, in bytes.
struct Usage {
    std::size_t privateBytes = 0; // committed for this process alone
    std::size_t heapBytes = 0;    // allocated, of all heaps
    std::size_t heapBlocks = 0;
};

Usage MeasureUsage();

} // namespace hostile
