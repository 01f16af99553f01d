#include "support/MC_Object.h"
#include "support/MC_Thread.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>

namespace {

constexpr uint32_t kPatience = 10000;

class TestThread : public MC_Thread {
public:
    explicit TestThread(std::function<void(TestThread&)> body) : body_(std::move(body)) {}
    ~TestThread() override { Stop(kPatience); }

    void Run() override { body_(*this); }
    bool MustStop() const { return StopRequested(); }
    /// Starts the thread and waits for its body to set `started`.
    bool Begin() {
        started.Reset();
        return Start() && started.Wait(kPatience);
    }

    MC_Event started;

private:
    std::function<void(TestThread&)> body_;
};

void PollUntilStopped(TestThread& thread) {
    thread.started.Set();
    while (!thread.MustStop()) {
        ::Sleep(1);
    }
}

TEST(WorkerThread, EndsOnRequestAndStartsAgain) {
    TestThread thread(PollUntilStopped);
    EXPECT_TRUE(thread.Stop(0)); // none runs
    for (int round = 0; round < 2; ++round) {
        ASSERT_TRUE(thread.Begin());
        EXPECT_NE(thread.GetHandle(), nullptr);
        EXPECT_NE(thread.GetThreadId(), 0u);
        EXPECT_FALSE(thread.IsCurrentThread());
        EXPECT_TRUE(thread.Stop(kPatience));
        EXPECT_EQ(thread.GetHandle(), nullptr);
        EXPECT_EQ(thread.GetThreadId(), 0u);
    }
}

TEST(WorkerThread, ThatNeverStopsIsTerminated) {
    TestThread thread([](TestThread& self) {
        self.started.Set();
        ::Sleep(INFINITE);
    });
    ASSERT_TRUE(thread.Begin());
    const UniqueHandle watched(::OpenThread(SYNCHRONIZE | THREAD_QUERY_INFORMATION, FALSE, thread.GetThreadId()));
    EXPECT_FALSE(thread.Stop(0));
    EXPECT_EQ(thread.GetHandle(), nullptr);
    EXPECT_EQ(thread.GetThreadId(), 0u);
    ASSERT_EQ(::WaitForSingleObject(watched.Get(), kPatience), WAIT_OBJECT_0);
    DWORD code = 0;
    EXPECT_TRUE(::GetExitCodeThread(watched.Get(), &code));
    EXPECT_EQ(code, 1u);
}

TEST(WorkerThread, CannotWaitForItself) {
    TestThread thread([](TestThread& self) {
        EXPECT_TRUE(self.IsCurrentThread());
        EXPECT_FALSE(self.Stop(INFINITE));
        self.started.Set();
    });
    ASSERT_TRUE(thread.Begin());
    EXPECT_TRUE(thread.Stop(kPatience));
}

TEST(WorkerThread, SwallowsWhatItsBodyThrows) {
    TestThread thread([](TestThread&) { throw std::runtime_error("body"); });
    ASSERT_TRUE(thread.Start());
    EXPECT_TRUE(thread.Stop(kPatience));
}

TEST(WorkerThread, ThatEndsByItselfClosesItsHandle) {
    HANDLE own = nullptr;
    TestThread thread([&](TestThread& self) {
        while (own == nullptr && !self.MustStop()) {
            own = self.GetHandle(); // stored a moment after the thread's first step
        }
    });
    ASSERT_TRUE(thread.Start());
    for (uint32_t waited = 0; thread.GetHandle() != nullptr && waited < kPatience; ++waited) {
        ::Sleep(1);
    }
    EXPECT_TRUE(thread.Stop(kPatience));
    EXPECT_EQ(thread.GetThreadId(), 0u);
    ASSERT_NE(own, nullptr);
    DWORD flags = 0;
    EXPECT_FALSE(::GetHandleInformation(own, &flags));
}

// The object dies right after `Stop`, so the thread's very last step must be over by then.
TEST(WorkerThread, IsWaitedForInItsLastSteps) {
    for (int round = 0; round < 300; ++round) {
        SCOPED_TRACE(round);
        TestThread thread([](TestThread&) {});
        ASSERT_TRUE(thread.Start());
        while (thread.GetHandle() != nullptr) {
        }
        ASSERT_TRUE(thread.Stop(kPatience));
        ASSERT_EQ(thread.GetThreadId(), 0u);
    }
}

TEST(CriticalSection, NeverInitialisedLetsEveryoneThrough) {
    MC_Critical_Section lock(false);
    EXPECT_EQ(lock.TryLock(), 1);
    lock.Lock();
    lock.Unlock();
}

template <class Base>
class Counted : public Base {
public:
    explicit Counted(int& destroyed) : destroyed_(destroyed) {}
    ~Counted() override { ++destroyed_; }
    void SetCount(uint16_t count) { this->refCount_ = count; }

private:
    int& destroyed_;
};

TEST(ReferenceCount, DestroysOnceWhenItReachesZero) {
    int destroyed = 0;
    MC_Object* const plain = new Counted<MC_Object>(destroyed);
    MC_Object* const locked = new Counted<MC_ObjectX>(destroyed);
    for (MC_Object* const object : {plain, locked}) {
        EXPECT_EQ(object->AddRef(), 2);
        EXPECT_EQ(object->Release(), 1);
        EXPECT_EQ(object->GetRefCount(), 1);
        EXPECT_EQ(object->Release(), 0);
    }
    EXPECT_EQ(destroyed, 2);
}

TEST(ReferenceCount, OfALockedObjectDoesNotGoBelowZero) {
    int destroyed = 0;
    Counted<MC_ObjectX> object(destroyed);
    object.SetCount(0);
    EXPECT_EQ(object.Release(), 0);
    EXPECT_EQ(object.GetRefCount(), 0);
    EXPECT_EQ(destroyed, 0);
    Counted<MC_Object> plain(destroyed);
    plain.SetCount(65535);
    EXPECT_EQ(plain.AddRef(), 0); // 16 bits
}

} // namespace
