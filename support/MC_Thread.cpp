#include "support/MC_Thread.h"

namespace {

// The value of the handle from before the thread's creation until its handle is stored. A thread that ends before that
// replaces it with null, and `Start` then closes the handle.
HANDLE Starting() noexcept {
    return INVALID_HANDLE_VALUE;
}

// A thread clears its handle and signals some microseconds later. The limit is for a thread that is killed in between.
constexpr uint32_t kLastStepsMilliseconds = 1000;

} // namespace

MC_Thread::MC_Thread() noexcept {
    finished_.Set(); // No thread runs.
}

MC_Thread::~MC_Thread() {
    stop_.store(true, std::memory_order_release);
}

bool MC_Thread::Start() noexcept {
    stop_.store(false, std::memory_order_release);
    if (handle_.load() == nullptr) {
        finished_.Wait(kLastStepsMilliseconds); // A thread that has cleared its handle may not have signalled yet.
    }
    finished_.Reset();
    handle_.store(Starting());
    // The platform stores the id before the thread takes its first step.
    UniqueHandle created(::CreateThread(nullptr, 0, &MC_Thread::Entry, this, 0, &threadId_));
    const bool started = static_cast<bool>(created);
    HANDLE expected = Starting();
    if (handle_.compare_exchange_strong(expected, created.Get())) {
        created.Detach();
    }
    if (!started) {
        finished_.Set();
    }
    return started;
}

bool MC_Thread::Stop(uint32_t milliseconds) noexcept {
    stop_.store(true, std::memory_order_release);
    if (milliseconds == INFINITE && IsCurrentThread()) {
        return false;
    }
    if (handle_.load() == nullptr) {
        // There is no thread, or it has cleared its handle and will signal. The object must live until then.
        finished_.Wait(kLastStepsMilliseconds);
        return true;
    }
    if (finished_.Wait(milliseconds)) {
        return true;
    }
    const HANDLE running = handle_.exchange(nullptr);
    if (running == nullptr) {
        return finished_.Wait(kLastStepsMilliseconds); // The thread has just cleared its handle.
    }
    ::TerminateThread(running, 1);
    ::WaitForSingleObject(running, kLastStepsMilliseconds); // Until then it may still use what the caller frees.
    ::CloseHandle(running);
    std::atomic_ref(threadId_).store(0);
    finished_.Set(); // The thread can no longer do it.
    return false;
}

bool MC_Thread::IsCurrentThread() const noexcept {
    return GetThreadId() == ::GetCurrentThreadId();
}

HANDLE MC_Thread::GetHandle() const noexcept {
    const HANDLE handle = handle_.load();
    return handle == Starting() ? nullptr : handle;
}

uint32_t MC_Thread::GetThreadId() const noexcept {
    return std::atomic_ref(threadId_).load();
}

DWORD WINAPI MC_Thread::Entry(void* object) noexcept {
    if (object == nullptr) {
        return 0;
    }
    MC_Thread* const self = static_cast<MC_Thread*>(object);
    try {
        self->Run();
    } catch (...) {
        // An exception that left the thread would end the host process.
    }
    self->Finish();
    return 0;
}

void MC_Thread::Finish() noexcept {
    const HANDLE handle = handle_.exchange(nullptr);
    if (handle != nullptr && handle != Starting()) {
        ::CloseHandle(handle);
    }
    std::atomic_ref(threadId_).store(0);
    finished_.Set(); // The last use of the object: the owner may destroy it now.
}
