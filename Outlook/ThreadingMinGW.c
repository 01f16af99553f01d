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

/* ---- Waiting ---- */

/* A thread can be killed inside a lock, as all but one are when a process ends. Who waits looks now and then whether
   the owner still lives. */
enum { kTurnsBeforeSleep = 64 };

static int HasEnded(DWORD thread) {
    const DWORD error = GetLastError(); /* the caller's */
    const HANDLE handle = OpenThread(SYNCHRONIZE | THREAD_QUERY_LIMITED_INFORMATION, FALSE, thread);
    int ended = 0;
    if (handle != NULL) {
        /* An id may have been given out again, to a thread of any process. */
        ended =
            WaitForSingleObject(handle, 0) == WAIT_OBJECT_0 || GetProcessIdOfThread(handle) != GetCurrentProcessId();
        CloseHandle(handle);
    } else {
        /* One that may not be opened is another process's. */
        ended = GetLastError() == ERROR_INVALID_PARAMETER || GetLastError() == ERROR_ACCESS_DENIED;
    }
    SetLastError(error);
    return ended;
}

/* Returns whether the owner is gone; else a moment has passed and the lock is to be looked at again. */
static int OwnerIsGone(int* turns, DWORD owner) {
    if (++*turns % kTurnsBeforeSleep == 0 && HasEnded(owner)) {
        return 1;
    }
    Sleep(*turns < kTurnsBeforeSleep ? 0 : 1);
    return 0;
}

/* ---- Locks: negative when free, else the owner's thread id, and above it how often it was taken ---- */

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
            *mutex = value + kOnce; /* nobody else writes it */
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

/* ---- Once: undone, done, or the id of the thread that is at it, which is a multiple of four ---- */

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

/* The compiler's description of one. The module has a single one, of the exceptions under way: two words. */
struct __emutls_object {
    uintptr_t size;
    uintptr_t align;
    uintptr_t place; /* of the variable in a thread's block, plus 1; 0 until it has one */
    const void* initial;
};

enum { kThreads = 256, kBytes = 64, kFatalAppExit = 7 };

/* Of the threads that have raised an exception and still live: the host's own, and the channel's two. The ids stand by
   themselves, so that looking for one touches no other block. */
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
        InterlockedCompareExchange(&g_threads[i], 0, thread);
    }
}
__attribute__((section(".CRT$XLY"), used)) static PIMAGE_TLS_CALLBACK g_onThread = &OnThread;
