#include "support/UniqueResource.h"

#include <gmock/gmock.h>

#include <windows.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <utility>

#include <pthread.h>

// The build gives the module's functions names of their own, since the test program has the toolchain's as well.
extern "C" void* __emutls_get_address(void* variable);

namespace {

constexpr DWORD kDeadline = 60'000; // ms
constexpr DWORD kManyChecks = 200;  // ms; a waiting thread checks several times in it whether the owner lives

/// A thread of the platform, without the runtime's bookkeeping.
class TestThread {
public:
    explicit TestThread(std::function<void()> body) : body_(std::move(body)) {
        handle_.Reset(::CreateThread(nullptr, 0, &Entry, this, 0, nullptr));
    }
    bool Ends() const { return ::WaitForSingleObject(handle_.Get(), kDeadline) == WAIT_OBJECT_0; }
    void Kill() {
        ::TerminateThread(handle_.Get(), 1);
        ASSERT_TRUE(Ends());
    }

private:
    static DWORD WINAPI Entry(void* self) {
        static_cast<TestThread*>(self)->body_();
        return 0;
    }

    std::function<void()> body_;
    UniqueHandle handle_;
};

void SleepUntil(const std::atomic<bool>& flag) {
    for (const ULONGLONG end = ::GetTickCount64() + kDeadline; !flag; ::Sleep(1)) {
        ASSERT_LT(::GetTickCount64(), end);
    }
}

std::atomic<int> g_runs{0};
std::atomic<bool> g_hangs{false};
std::atomic<bool> g_underWay{false};

void RunOnce() {
    ++g_runs;
    g_underWay = true;
    if (g_hangs) {
        ::Sleep(INFINITE);
    }
}

TEST(RuntimeLock, IsExclusiveAndRecursive) {
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    int count = 0;
    const auto work = [&] {
        for (int i = 0; i < 20'000; ++i) {
            pthread_mutex_lock(&mutex);
            pthread_mutex_lock(&mutex);
            ++count;
            pthread_mutex_unlock(&mutex);
            count += 2;
            pthread_mutex_unlock(&mutex);
        }
    };
    TestThread first(work);
    TestThread second(work);
    TestThread third(work);
    EXPECT_TRUE(first.Ends() && second.Ends() && third.Ends());
    EXPECT_EQ(count, 3 * 3 * 20'000);
}

TEST(RuntimeLock, OfAKilledThreadGoesToOneWaitingThread) {
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    std::atomic<bool> held{false};
    TestThread owner([&] {
        pthread_mutex_lock(&mutex);
        held = true;
        ::Sleep(INFINITE);
    });
    SleepUntil(held);
    std::atomic<int> inside{0};
    std::atomic<int> together{0};
    std::atomic<int> taken{0};
    const auto take = [&] {
        pthread_mutex_lock(&mutex);
        together = std::max<int>(together, ++inside);
        ::Sleep(kManyChecks); // time for the others to take it from this thread, if they did
        --inside;
        ++taken;
        pthread_mutex_unlock(&mutex);
    };
    TestThread first(take);
    TestThread second(take);
    TestThread third(take);
    owner.Kill();
    EXPECT_TRUE(first.Ends() && second.Ends() && third.Ends());
    EXPECT_EQ(taken, 3);
    EXPECT_EQ(together, 1);
}

TEST(RuntimeOnce, RunsAgainOnlyWhenItsThreadWasKilled) {
    pthread_once_t once = PTHREAD_ONCE_INIT;
    g_hangs = true;
    TestThread killed([&] { pthread_once(&once, &RunOnce); });
    SleepUntil(g_underWay);
    TestThread waiting([&] { pthread_once(&once, &RunOnce); });
    ::Sleep(kManyChecks);
    EXPECT_EQ(g_runs, 1) << "its thread still lives";
    g_hangs = false;
    killed.Kill();
    EXPECT_TRUE(waiting.Ends());
    EXPECT_EQ(g_runs, 2);
    pthread_once(&once, &RunOnce);
    EXPECT_EQ(g_runs, 2);
}

TEST(RuntimeVariable, IsZeroAtFirstAndEachThreadsOwn) {
    struct {
        uintptr_t size = 16;
        uintptr_t align = 16;
        uintptr_t place = 0;
        const void* initial = nullptr;
    } variable;
    const auto value = [&] { return static_cast<uint64_t*>(__emutls_get_address(&variable)); };
    *value() = 7;
    EXPECT_EQ(reinterpret_cast<uintptr_t>(value()) % 16, 0u);
    uint64_t before = 1;
    for (int round = 0; round < 300; ++round) { // more threads than there are blocks
        EXPECT_TRUE(TestThread([&] { before = std::exchange(*value(), 8); }).Ends());
        ASSERT_EQ(before, 0u);
    }
    EXPECT_EQ(*value(), 7u);
}

} // namespace
