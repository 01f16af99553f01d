#pragma once

#include <windows.h>

#include <cstdint>
#include <string>

namespace hostile {

struct SenderOrders {
    std::wstring board;
    std::uint64_t seed = 0;
    std::uint64_t messages = 0;
    DWORD host = 0; ///< process; the sender ends with it
};

/// The second process: sends them all. @return its exit code; not 0 with a reason on the board.
int Send(const SenderOrders& orders);

} // namespace hostile
