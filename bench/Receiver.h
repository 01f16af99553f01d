#pragma once

#include "support/UniqueResource.h"
#include "workbench/process/ChildProcess.h"

#include <windows.h>

#include <atomic>
#include <cstdint>
#include <string>

namespace bench {

/// The counts of the receiver so far, in memory that both processes map.
struct ReceiverState {
    std::atomic<int64_t> bytes;    // cbData of all messages
    std::atomic<int64_t> counter;  // performance counter at the last message
    std::atomic<int64_t> messages; // written last
};
static_assert(std::atomic<int64_t>::is_always_lock_free);

/// A process of its own with the meeting client's channel window, which takes messages and does nothing with them.
class Receiver {
public:
    /// Returns when its window is there. @throws std::runtime_error when it does not come.
    Receiver();
    ~Receiver();

    HWND Window() const noexcept { return window_; }
    const ReceiverState& State() const noexcept { return *state_; }

private:
    struct ViewTraits {
        using Value = void*;
        static Value Empty() noexcept { return nullptr; }
        static void Close(Value view) noexcept { ::UnmapViewOfFile(view); }
    };

    std::string name_;
    UniqueHandle mapping_;
    UniqueResource<ViewTraits> view_;
    ReceiverState* state_ = nullptr;
    HWND window_ = nullptr; // the other process's
    process::ChildProcess process_;

    friend int RunReceiver(const std::string& name);
};

/// Body of the receiving process. @param name of the shared memory.
int RunReceiver(const std::string& name);

} // namespace bench
