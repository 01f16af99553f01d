#pragma once

#include "support/UniqueResource.h"

#include <atomic>
#include <cstdint>
#include <new>
#include <stdexcept>
#include <string>

namespace verify {

/// The data that the two processes exchange, in memory that both map.
struct Board {
    // Written by the sender.
    std::atomic<std::uint64_t> sent;
    std::atomic<std::uint64_t> dropped;
    std::atomic<std::uint64_t> kept;     // segments
    std::atomic<std::uint64_t> whole;    // messages in one piece
    std::atomic<std::uint64_t> joined;   // messages that a segment ended
    std::atomic<std::uint64_t> complete; // both
    std::atomic<std::uint64_t> other;    // messages that are no WM_COPYDATA
    std::atomic<std::uint64_t> system;   // those of them below WM_USER
    std::atomic<std::uint64_t> closes;   // of the channel's window
    std::atomic<std::uint64_t> refused;  // by the system, at the sender
    std::atomic<std::uint64_t> bytes;
    std::atomic<std::uint64_t> keptBytes; // of messages without an end, by now
    std::atomic<std::uint64_t> mostKept;  // the same, at most
    char failure[200];                    // written before the sender's end
    // Written by the host.
    char entryId[64];                // of an appointment; before the sender starts
    std::atomic<std::uint64_t> read; // messages that the add-in's reader has dealt with
};
static_assert(std::atomic<std::uint64_t>::is_always_lock_free);

/// The board, made or opened by its name. It stays mapped until the process ends.
class SharedBoard {
public:
    /// @throws std::runtime_error
    SharedBoard(const std::wstring& name, bool create)
        : section_(create ? ::CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, sizeof(Board),
                                                 name.c_str())
                          : ::OpenFileMappingW(FILE_MAP_ALL_ACCESS, FALSE, name.c_str())) {
        void* view = section_ ? ::MapViewOfFile(section_.Get(), FILE_MAP_ALL_ACCESS, 0, 0, sizeof(Board)) : nullptr;
        if (view == nullptr) {
            throw std::runtime_error("the memory shared by the two processes could not be mapped");
        }
        board_ = create ? ::new (view) Board{} : static_cast<Board*>(view); // the sender takes over what the host made
    }

    Board& operator*() const noexcept { return *board_; }
    Board* operator->() const noexcept { return board_; }

private:
    UniqueHandle section_;
    Board* board_ = nullptr;
};

} // namespace verify
