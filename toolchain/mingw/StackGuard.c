/* The two symbols that compiled-in stack protection needs, for mingw-w64 builds of the module only. The toolchain's own
   library fills its guard from the platform's cryptography, which loads and unloads three DLLs under the loader lock
   and takes a third of the add-in's load time. The guard below is made of clocks, ids and addresses, as in the start-up
   code of native toolchains. */
#include <windows.h>

#include <stdint.h>

void* __stack_chk_guard = NULL;

__attribute__((noreturn)) void __stack_chk_fail(void) {
    /* The platform's fast fail with the code for a damaged stack. It ends the process without running a handler, which
       would run on that stack. */
    __asm__ volatile("int $0x29" : : "c"(2));
    __builtin_unreachable();
}

/* Runs before every other constructor. Compiled without protection, because it changes the guard. */
__attribute__((constructor(101), optimize("no-stack-protector"))) static void FillStackGuard(void) {
    LARGE_INTEGER counter;
    FILETIME time;
    QueryPerformanceCounter(&counter);
    GetSystemTimeAsFileTime(&time);
    const uint64_t now = (uint64_t)time.dwHighDateTime << 32 | time.dwLowDateTime;
    uint64_t guard = (uint64_t)counter.QuadPart * UINT64_C(0x9E3779B97F4A7C15);
    guard ^= now ^ (uint64_t)GetCurrentProcessId() << 32 ^ GetCurrentThreadId() ^ (uint64_t)(uintptr_t)&counter;
    __stack_chk_guard = (void*)(uintptr_t)(guard & ~UINT64_C(0xFF)); /* a zero byte stops text from running over it */
}
