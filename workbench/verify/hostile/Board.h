#pragma once

#include <windows.h>

#include <atomic>
#include <cstdint>
#include <stdexcept>
#include <string>

namespace verify {

/// The data that the two processes exchange, in memory that both map. It begins as zeroes.
struct Board {
    // Written by the sender.
    std::atomic<std::uint64_t> sent;
    std::atomic<std::uint64_t> complete; // messages that have to reach the add-in's reader
    std::atomic<std::uint64_t> bytes;
    std::atomic<std::uint64_t> keptBytes; // of messages without an end, by now
    // Written by the host.
    std::atomic<std::uint64_t> read; // messages that the add-in's reader has dealt with
    char entryId[64];                // of an appointment; before the sender starts
};
static_assert(std::atomic<std::uint64_t>::is_always_lock_free);

/// The board of that name, which the host makes. Its name lasts as long as a handle: it is left to the process's end.
/// @throws std::runtime_error
inline Board& OpenBoard(const std::wstring& name) {
    const HANDLE section =
        ::CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, sizeof(Board), name.c_str());
    void* view = section ? ::MapViewOfFile(section, FILE_MAP_ALL_ACCESS, 0, 0, sizeof(Board)) : nullptr;
    if (view == nullptr) {
        throw std::runtime_error("the memory shared by the two processes could not be mapped");
    }
    return *static_cast<Board*>(view);
}

} // namespace verify
