/* What the toolchain's C++ runtime needs of a threads library, for mingw-w64 builds of the module only. The toolchain's
   own allocates a lock when it is first taken, an entry for each "once", and the exceptions' bookkeeping of each thread
   when it raises its first. Exhausted memory is reported by an exception: with those it ended the host's process
   instead. Nothing here allocates or fails. Native toolchains have all of it from the start.
   The functions stand in the place of the library's of the same names, which is then not linked at all. The module's
   own threads and locks are the platform's. */
#include <windows.h>

#include <pthread.h>
#include <stdint.h>
#include <string.h>

/* ---- Locks: negative when free, else the owner's thread id, and above it how often it was taken ---- */

enum { kTurnsBeforeSleep = 64, kMostTurns = 2000 };
static const intptr_t kOnce = (intptr_t)1 << 32;

static void WaitATurn(int* turns) {
    Sleep(++*turns < kTurnsBeforeSleep ? 0 : 1);
}

int pthread_mutex_init(pthread_mutex_t* mutex, const pthread_mutexattr_t* attributes) {
    (void)attributes;
    *mutex = PTHREAD_MUTEX_INITIALIZER;
    return 0;
}

int pthread_mutex_destroy(pthread_mutex_t* mutex) {
    (void)mutex;
    return 0;
}

int pthread_mutex_lock(pthread_mutex_t* mutex) {
    const intptr_t self = (intptr_t)GetCurrentThreadId();
    for (int turns = 0;; WaitATurn(&turns)) {
        const intptr_t value = __atomic_load_n(mutex, __ATOMIC_RELAXED);
        if (value >= 0 && (value & UINT32_MAX) == self) {
            *mutex = value + kOnce; /* nobody else writes it */
            return 0;
        }
        /* Held for moments only. Whoever holds it for seconds was killed with it, as threads are when a process ends.
         */
        intptr_t expected = value;
        if ((value < 0 || turns >= kMostTurns) &&
            __atomic_compare_exchange_n(mutex, &expected, kOnce | self, 0, __ATOMIC_ACQUIRE, __ATOMIC_RELAXED)) {
            return 0;
        }
    }
}

int pthread_mutex_unlock(pthread_mutex_t* mutex) {
    const intptr_t left = *mutex - kOnce;
    __atomic_store_n(mutex, left >= kOnce ? left : PTHREAD_MUTEX_INITIALIZER, __ATOMIC_RELEASE);
    return 0;
}

/* Waiters look again after every wait: a wake-up that comes for nothing is allowed. The runtime waits only for another
   thread that is making the same static object. */
int pthread_cond_wait(pthread_cond_t* condition, pthread_mutex_t* mutex) {
    (void)condition;
    pthread_mutex_unlock(mutex);
    Sleep(1);
    return pthread_mutex_lock(mutex);
}

int pthread_cond_broadcast(pthread_cond_t* condition) {
    (void)condition;
    return 0;
}

/* ---- Once ---- */

enum { kUndone = PTHREAD_ONCE_INIT, kUnderWay, kDone };

int pthread_once(pthread_once_t* once, void (*function)(void)) {
    for (int turns = 0;; WaitATurn(&turns)) {
        pthread_once_t state = __atomic_load_n(once, __ATOMIC_ACQUIRE);
        if (state == kDone) {
            return 0;
        }
        if (state == kUndone &&
            __atomic_compare_exchange_n(once, &state, kUnderWay, 0, __ATOMIC_ACQUIRE, __ATOMIC_RELAXED)) {
            function();
            __atomic_store_n(once, kDone, __ATOMIC_RELEASE);
            return 0;
        }
    }
}

/* ---- Variables of each thread ---- */

/* The compiler's description of one. The module has a single one, of the exceptions under way: two words. */
struct __emutls_object {
    uintptr_t size;
    uintptr_t align;
    uintptr_t place; /* of the variable in a thread's block, plus 1; 0 until it has one */
    const void* initial;
};

enum { kThreads = 256, kBytes = 64, kFatalAppExit = 7 };

/* Of the threads that have raised an exception and still live: the host's own, and the channel's two. */
static struct ThreadBlock {
    volatile LONG thread; /* id; 0: free */
    _Alignas(16) unsigned char bytes[kBytes];
} g_blocks[kThreads];

static pthread_mutex_t g_placesLock = PTHREAD_MUTEX_INITIALIZER;
static uintptr_t g_placesUsed = 0;

static struct ThreadBlock* BlockOfThread(void) {
    const LONG thread = (LONG)GetCurrentThreadId();
    for (int i = 0; i < kThreads; ++i) {
        if (g_blocks[i].thread == thread) {
            return &g_blocks[i];
        }
    }
    for (int i = 0; i < kThreads; ++i) {
        if (InterlockedCompareExchange(&g_blocks[i].thread, thread, 0) == 0) {
            memset(g_blocks[i].bytes, 0, kBytes);
            return &g_blocks[i];
        }
    }
    return NULL;
}

static uintptr_t PlaceOf(struct __emutls_object* object) {
    pthread_mutex_lock(&g_placesLock);
    if (object->place == 0) {
        const uintptr_t place = (g_placesUsed + object->align - 1) & ~(object->align - 1);
        g_placesUsed = place + object->size;
        object->place = place + 1;
    }
    const uintptr_t place = object->place - 1;
    pthread_mutex_unlock(&g_placesLock);
    return place;
}

void* __emutls_get_address(struct __emutls_object* object) {
    struct ThreadBlock* block = BlockOfThread();
    const uintptr_t place = PlaceOf(object);
    if (block == NULL || place + object->size > kBytes || object->initial != NULL) {
        __asm__ volatile("int $0x29" : : "c"(kFatalAppExit)); /* more than this was made for */
        __builtin_unreachable();
    }
    return block->bytes + place;
}

/* A thread that ends gives its block back. The section's name puts the function into the loader's list of those that
   are called at the end of each thread. */
static void NTAPI OnThread(void* module, DWORD reason, void* reserved) {
    (void)module;
    (void)reserved;
    if (reason != DLL_THREAD_DETACH) {
        return;
    }
    const LONG thread = (LONG)GetCurrentThreadId();
    for (int i = 0; i < kThreads; ++i) {
        InterlockedCompareExchange(&g_blocks[i].thread, 0, thread);
    }
}
__attribute__((section(".CRT$XLY"), used)) static PIMAGE_TLS_CALLBACK g_onThread = &OnThread;
