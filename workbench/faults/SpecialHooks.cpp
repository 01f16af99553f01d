// The hooks that do more than to fail: memory is booked, time runs faster, and nothing is really launched.
#include "workbench/faults/Blocks.h"
#include "workbench/faults/Hook.h"
#include "workbench/faults/Hooks.h"

#include <windows.h>
#include <oleauto.h>
#include <shellapi.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace faults {
namespace {

/// The channel's thread sleeps 20 ms in each round, and a run waits for a few rounds. Its clock and its sleep are made
/// this much faster together.
constexpr int kFaster = 24;
constexpr long kFullLog = 1L << 30; // bytes

std::atomic<std::uint64_t> g_rounds{0};
std::atomic<std::uint64_t> g_launches{0};
std::atomic<int> g_fullAnswers{0};
void (*g_onAbort)(const char*) = nullptr;

template <class Function>
Function* Original(const HookInfo& info) {
    return reinterpret_cast<Function*>(info.original);
}

HookInfo g_malloc{"malloc"};
HookInfo g_calloc{"calloc"};
HookInfo g_realloc{"realloc"};
HookInfo g_strdup{"_strdup"};
HookInfo g_free{"free"};
HookInfo g_globalAlloc{"GlobalAlloc"};
HookInfo g_sleep{"Sleep"};
HookInfo g_counter{"QueryPerformanceCounter"};
HookInfo g_shellExecute{"ShellExecuteW"};
HookInfo g_fgetpos{"fgetpos"};
HookInfo g_fprintf{"fprintf"};
HookInfo g_fwprintf{"fwprintf"};
HookInfo g_printf{"printf"};
HookInfo g_abort{"abort"};
HookInfo g_exit{"exit"};
HookInfo g_amsgExit{"_amsg_exit"};
HookInfo g_assert{"_wassert"};

void* Malloc(std::size_t bytes) {
    if (Strikes(g_malloc)) {
        return nullptr;
    }
    void* block = Original<decltype(std::malloc)>(g_malloc)(bytes);
    BlockGiven(block, bytes);
    return block;
}

void* Calloc(std::size_t count, std::size_t bytes) {
    if (Strikes(g_calloc)) {
        return nullptr;
    }
    void* block = Original<decltype(std::calloc)>(g_calloc)(count, bytes);
    BlockGiven(block, count * bytes);
    return block;
}

void* Realloc(void* old, std::size_t bytes) {
    if (Strikes(g_realloc)) {
        return nullptr;
    }
    BlockTaken(old); // before: another thread may be given the same address
    void* block = Original<decltype(std::realloc)>(g_realloc)(old, bytes);
    BlockGiven(block != nullptr ? block : (bytes != 0 ? old : nullptr), bytes);
    return block;
}

char* Strdup(const char* text) {
    if (Strikes(g_strdup)) {
        return nullptr;
    }
    char* block = Original<char*(const char*)>(g_strdup)(text);
    BlockGiven(block, std::strlen(text) + 1);
    return block;
}

void Free(void* block) {
    BlockTaken(block);
    Original<decltype(std::free)>(g_free)(block);
}

HGLOBAL WINAPI AllocateGlobal(UINT flags, SIZE_T bytes) {
    if (Strikes(g_globalAlloc)) {
        return nullptr;
    }
    HGLOBAL block = Original<decltype(::GlobalAlloc)>(g_globalAlloc)(flags, bytes);
    GlobalGiven(block);
    return block;
}

void WINAPI SleepLess(DWORD milliseconds) {
    ++g_rounds;
    Original<decltype(::Sleep)>(g_sleep)(std::max<DWORD>(milliseconds / kFaster, 1));
}

BOOL WINAPI FasterCounter(LARGE_INTEGER* counter) {
    const BOOL known = Original<decltype(::QueryPerformanceCounter)>(g_counter)(counter);
    counter->QuadPart *= kFaster;
    return known;
}

/// Never forwarded: a run would launch whatever this machine has for the scheme.
HINSTANCE WINAPI Launch(HWND, LPCWSTR, LPCWSTR, LPCWSTR, LPCWSTR, INT) {
    constexpr std::intptr_t kLaunched = 33;
    if (Strikes(g_shellExecute)) {
        return reinterpret_cast<HINSTANCE>(static_cast<std::intptr_t>(SE_ERR_NOASSOC));
    }
    ++g_launches;
    return reinterpret_cast<HINSTANCE>(kLaunched);
}

// The toolchain's 64-bit position functions call it.
int GetPosition(FILE* file, std::fpos_t* position) {
    if (Strikes(g_fgetpos)) {
        return -1;
    }
    if (g_fullAnswers > 0) {
        --g_fullAnswers;
        *position = kFullLog;
        return 0;
    }
    return Original<decltype(std::fgetpos)>(g_fgetpos)(file, position);
}

// The lists of arguments go on to the same runtime.
int Fprintf(FILE* file, const char* format, ...) {
    if (Strikes(g_fprintf)) {
        return -1;
    }
    va_list arguments;
    va_start(arguments, format);
    const int length = std::vfprintf(file, format, arguments);
    va_end(arguments);
    return length;
}

int Fwprintf(FILE* file, const wchar_t* format, ...) {
    if (Strikes(g_fwprintf)) {
        return -1;
    }
    va_list arguments;
    va_start(arguments, format);
    const int length = ::vfwprintf(file, format, arguments);
    va_end(arguments);
    return length;
}

int Printf(const char* format, ...) {
    if (Strikes(g_printf)) {
        return -1;
    }
    va_list arguments;
    va_start(arguments, format);
    const int length = std::vprintf(format, arguments);
    va_end(arguments);
    return length;
}

void Abort() {
    if (g_onAbort != nullptr) {
        g_onAbort("abort");
    }
    Original<void()>(g_abort)();
}

void Exit(int code) {
    if (g_onAbort != nullptr) {
        g_onAbort("exit");
    }
    Original<void(int)>(g_exit)(code);
}

void RuntimeError(int code) {
    if (g_onAbort != nullptr) {
        g_onAbort("_amsg_exit");
    }
    Original<void(int)>(g_amsgExit)(code);
}

void FailedAssertion(const wchar_t* text, const wchar_t* file, unsigned line) {
    if (g_onAbort != nullptr) {
        g_onAbort("_wassert");
    }
    Original<void(const wchar_t*, const wchar_t*, unsigned)>(g_assert)(text, file, line);
}

template <class Function>
HookInfo* Special(HookInfo& info, Function* replacement, KindMask kinds = 0, const Failure& failure = {}) {
    return Complete(info, reinterpret_cast<void*>(replacement), kinds, failure, {});
}

} // namespace

std::vector<HookInfo*> SpecialHooks() {
    constexpr KindMask kAllocation = Mask(Kind::Allocation);
    constexpr Failure kNoMemory = {0, Reason::Errno, ENOMEM};
    constexpr Failure kNoGlobal = {0, Reason::LastError, ERROR_NOT_ENOUGH_MEMORY};
    constexpr Failure kUnwritten = {-1, Reason::Errno};
    return {
        Special(g_malloc, &Malloc, kAllocation, kNoMemory),
        Special(g_calloc, &Calloc, kAllocation, kNoMemory),
        Special(g_realloc, &Realloc, kAllocation, kNoMemory),
        Special(g_strdup, &Strdup, kAllocation, kNoMemory),
        Special(g_free, &Free),
        Special(g_globalAlloc, &AllocateGlobal, kAllocation, kNoGlobal),
        MakeHook<"GlobalLock", decltype(::GlobalLock)>(kAllocation, kNoGlobal),
        MakeHook<"SysAllocString", decltype(::SysAllocString)>(kAllocation, {0}),
        MakeHook<"SysAllocStringLen", decltype(::SysAllocStringLen)>(kAllocation, {0}),
        MakeHook<"SysAllocStringByteLen", decltype(::SysAllocStringByteLen)>(kAllocation, {0}),
        Special(g_sleep, &SleepLess),
        Special(g_counter, &FasterCounter),
        Special(g_shellExecute, &Launch, Mask(Kind::Shell)),
        Special(g_fgetpos, &GetPosition, kFileKinds, kUnwritten),
        Special(g_fprintf, &Fprintf, kFileKinds, kUnwritten),
        Special(g_fwprintf, &Fwprintf, kFileKinds, kUnwritten),
        Special(g_printf, &Printf, kFileKinds, kUnwritten),
        Special(g_abort, &Abort),
        Special(g_exit, &Exit),
        Special(g_amsgExit, &RuntimeError),
        Special(g_assert, &FailedAssertion),
    };
}

HookInfo* Complete(HookInfo& info, void* replacement, KindMask kinds, const Failure& failure,
                   const HookOptions& options) {
    info.kinds = kinds;
    info.answer = failure.answer;
    info.reason = failure.reason;
    info.code = failure.code;
    info.failsAfterwards = options.failsAfterwards;
    info.hostThreadOnly = options.hostThreadOnly;
    info.replacement = replacement;
    if (options.opens != nullptr) {
        info.balance = BalanceOf(options.opens);
        info.balanceStep = 1;
    } else if (options.closes != nullptr) {
        info.balance = BalanceOf(options.closes);
        info.balanceStep = -1;
    }
    return &info;
}

const std::vector<HookInfo*>& AllHooks() {
    static const std::vector<HookInfo*> hooks = [] {
        std::vector<HookInfo*> all;
        for (const auto& group : {PlatformHooks(), KernelHooks(), RuntimeHooks(), SpecialHooks()}) {
            all.insert(all.end(), group.begin(), group.end());
        }
        return all;
    }();
    return hooks;
}

std::uint64_t ChannelRounds() {
    return g_rounds;
}

std::uint64_t Launches() {
    return g_launches;
}

void PretendLogIsFull() {
    g_fullAnswers = 2; // before the rotation, and again once other processes had time to rotate
}

void OnAbort(void (*handler)(const char*)) {
    g_onAbort = handler;
}

} // namespace faults
