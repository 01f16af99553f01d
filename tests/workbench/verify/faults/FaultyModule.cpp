#include <windows.h>

#include <cstdlib>
#include <new>

#define EXPORTED extern "C" __declspec(dllexport)

// One fault each, in the way a failed allocation or key is handled.
namespace {

bool g_broken = false;

void* volatile g_seen; // keeps the compiler from leaving allocations out

void* Allocate() {
    g_seen = std::malloc(16);
    return g_seen;
}

bool OneBlock(void (*onFailure)()) {
    void* block = Allocate();
    if (block == nullptr) {
        onFailure();
    }
    std::free(block);
    return block != nullptr;
}

/// Two allocations, of which the first is given back in any case.
bool TwoBlocks(bool freesFirst) {
    void* first = Allocate();
    if (first == nullptr) {
        return false;
    }
    const bool all = OneBlock([] {});
    if (all || freesFirst) {
        std::free(first);
    }
    return all;
}

void Crash() {
    volatile int* nowhere = nullptr;
    *nowhere = 1;
}

} // namespace

EXPORTED bool Sound() {
    return TwoBlocks(true);
}

EXPORTED bool Leaks() {
    return TwoBlocks(false);
}

EXPORTED bool Crashes() {
    return OneBlock(&Crash) && TwoBlocks(true);
}

EXPORTED bool Hangs() {
    return OneBlock([] { ::Sleep(INFINITE); });
}

EXPORTED bool Throws() {
    return OneBlock([] { throw std::bad_alloc(); });
}

EXPORTED bool Aborts() {
    return OneBlock(&std::abort);
}

EXPORTED bool StaysBroken() {
    g_broken = g_broken || !TwoBlocks(true);
    return !g_broken;
}

EXPORTED bool KeepsKey() {
    HKEY outer = nullptr;
    HKEY inner = nullptr;
    if (::RegOpenKeyExW(HKEY_CURRENT_USER, L"Software", 0, KEY_READ, &outer) != ERROR_SUCCESS ||
        ::RegOpenKeyExW(outer, nullptr, 0, KEY_READ, &inner) != ERROR_SUCCESS) {
        return false; // without closing the outer one
    }
    ::RegCloseKey(inner);
    ::RegCloseKey(outer);
    return true;
}

EXPORTED bool ReadsText(const char* text) {
    if (text[0] == '[' && text[1] == '\0') { // one cut that it does not stand
        Crash();
    }
    return true;
}

BOOL WINAPI DllMain(HINSTANCE, DWORD reason, void*) {
    // Run by the program under test only, with the hooks in place: a plain load would come here before them.
    return reason != DLL_PROCESS_ATTACH || TwoBlocks(true);
}
