#pragma once

#include <windows.h>

#include <cstddef>
#include <optional>
#include <string>

namespace gauges {

/// The system resources that this process holds.
struct Usage {
    DWORD handles = 0;               // to kernel objects
    std::optional<DWORD> gdiObjects; // nothing where the system does not tell
    std::optional<DWORD> userObjects;
    DWORD windows = 0;            // top-level and message-only ones
    std::size_t privateBytes = 0; // committed
    std::size_t heapBytes = 0;    // allocated, of all heaps
    std::size_t heapBlocks = 0;
};

Usage MeasureUsage();
std::string Describe(const Usage& usage);

} // namespace gauges
