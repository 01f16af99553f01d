/* The functions that the toolchain's C++ runtime needs of a threads library, for mingw-w64 builds of the module only.
   The toolchain's own library allocates each lock at its first use, an entry for each "once", and the bookkeeping of
   the exceptions of each thread at the first one. An exception reports exhausted memory, and raising it would need
   memory: the runtime then ends the host's process. To use each of them while there is memory does not help: the lock
   of the runtime's memory reserve is used when memory is exhausted, and never before. Nothing here allocates or fails.
   The linker takes these functions instead of the library's. The module's own threads and locks are the platform's. */
#include <windows.h>

#include <pthread.h>
#include <stdint.h>
#include <string.h>

/* ---- Waiting ---- */

/* When a process ends, all threads but one are killed, also inside a lock. A waiting thread therefore checks from time
   to time whether the owner still lives. */
enum { kTurnsBeforeSleep = 64 };

static int HasEnded(DWORD thread) {
    const DWORD error = GetLastError(); /* the caller's */
    const HANDLE handle = OpenThread(SYNCHRONIZE | THREAD_QUERY_LIMITED_INFORMATION, FALSE, thread);
    int ended = 0;
    if (handle != NULL) {
        /* The system may have given the id to another thread, of any process. */
        ended =
            WaitForSingleObject(handle, 0) == WAIT_OBJECT_0 || GetProcessIdOfThread(handle) != GetCurrentProcessId();
        CloseHandle(handle);
    } else {
        /* A thread that cannot be opened belongs to another process. */
        ended = GetLastError() == ERROR_INVALID_PARAMETER || GetLastError() == ERROR_ACCESS_DENIED;
    }
    SetLastError(error);
    return ended;
}

/* Returns whether the owner is gone. Otherwise a moment has passed, and the caller tries again. */
static int OwnerIsGone(int* turns, DWORD owner) {
    if (++*turns % kTurnsBeforeSleep == 0 && HasEnded(owner)) {
        return 1;
    }
    Sleep(*turns < kTurnsBeforeSleep ? 0 : 1);
    return 0;
}

/* ---- Locks: negative when free, else the owner's thread id in the low half and its depth in the high half ---- */

_Static_assert(sizeof(pthread_mutex_t) == sizeof(int64_t), "a lock holds a thread id and a depth");
_Static_assert(PTHREAD_MUTEX_INITIALIZER < 0 && PTHREAD_RECURSIVE_MUTEX_INITIALIZER < 0,
               "a lock that was never used counts as free");

static const intptr_t kOnce = (intptr_t)1 << 32;

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
    for (int turns = 0;;) {
        const intptr_t value = __atomic_load_n(mutex, __ATOMIC_RELAXED);
        if (value >= 0 && (value & UINT32_MAX) == self) {
            *mutex = value + kOnce; /* Only the owner writes it. */
            return 0;
        }
        intptr_t expected = value;
        if ((value < 0 || OwnerIsGone(&turns, (DWORD)(value & UINT32_MAX))) &&
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

/* The runtime waits only for another thread that is making the same static object, and checks its condition after each
   wait. */
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

/* ---- Once: undone, done, or the id of the thread that runs the function, which is a multiple of four ---- */

_Static_assert(sizeof(pthread_once_t) == sizeof(DWORD), "a once holds a thread id");

enum { kUndone = PTHREAD_ONCE_INIT, kDone = 1 };

int pthread_once(pthread_once_t* once, void (*function)(void)) {
    const pthread_once_t self = (pthread_once_t)GetCurrentThreadId();
    for (int turns = 0;;) {
        pthread_once_t state = __atomic_load_n(once, __ATOMIC_ACQUIRE);
        if (state == kDone) {
            return 0;
        }
        if ((state == kUndone || OwnerIsGone(&turns, (DWORD)state)) &&
            __atomic_compare_exchange_n(once, &state, self, 0, __ATOMIC_ACQUIRE, __ATOMIC_RELAXED)) {
            function();
            __atomic_store_n(once, kDone, __ATOMIC_RELEASE);
            return 0;
        }
    }
}

/* ---- Variables of each thread ---- */

/* The compiler's description of such a variable. The module has one, the exceptions that a thread is handling, which
   takes two words and begins as zeroes. The build checks that there is no other: see CheckThreadVariables.cmake. */
struct __emutls_object {
    uintptr_t size;
    uintptr_t align;
    uintptr_t place; /* of the variable in a thread's block, plus 1; 0 until it has one */
    const void* initial;
};

_Static_assert(sizeof(struct __emutls_object) == 4 * sizeof(void*), "four words, as the compiler lays it out");

enum { kThreads = 256, kBytes = 64, kFatalAppExit = 7 };

/* One block for each live thread that has raised an exception: the host's own, and the channel's two. The ids are apart
   from the blocks, so that a search touches few pages. */
static volatile LONG g_threads[kThreads]; /* 0: free */
static _Alignas(16) unsigned char g_blocks[kThreads][kBytes];

static pthread_mutex_t g_placesLock = PTHREAD_MUTEX_INITIALIZER;
static uintptr_t g_placesUsed = 0;

static unsigned char* BlockOfThread(void) {
    const LONG thread = (LONG)GetCurrentThreadId();
    for (int i = 0; i < kThreads; ++i) {
        if (g_threads[i] == thread) {
            return g_blocks[i];
        }
    }
    for (int i = 0; i < kThreads; ++i) {
        if (InterlockedCompareExchange(&g_threads[i], thread, 0) == 0) {
            memset(g_blocks[i], 0, kBytes);
            return g_blocks[i];
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
    unsigned char* block = BlockOfThread();
    const uintptr_t place = PlaceOf(object);
    if (block == NULL || place + object->size > kBytes || object->initial != NULL) {
        __asm__ volatile("int $0x29" : : "c"(kFatalAppExit)); /* more than this was made for */
        __builtin_unreachable();
    }
    return block + place;
}

/* Frees the block of a thread that ends. The loader calls the functions in sections of this name at the end of each
   thread. */
static void NTAPI OnThread(void* module, DWORD reason, void* reserved) {
    (void)module;
    (void)reserved;
    if (reason != DLL_THREAD_DETACH) {
        return;
    }
    const LONG thread = (LONG)GetCurrentThreadId();
    for (int i = 0; i < kThreads; ++i) {
        InterlockedCompareExchange(&g_threads[i], 0, thread);
    }
}
__attribute__((section(".CRT$XLY"), used)) static PIMAGE_TLS_CALLBACK g_onThread = &OnThread;
