#include <windows.h>

#include <cstdlib>
#include <new>

// One fault each, in the way a failed allocation or key is handled.
namespace {

bool g_broken = false;

void* volatile g_seen; // keeps the compiler from leaving allocations out

void* Allocate() {
    g_seen = std::malloc(16);
    return g_seen;
}

/// Two allocations, of which the first is given back in any case.
bool TwoBlocks(bool freesFirst) {
    void* first = Allocate();
    if (first == nullptr) {
        return false;
    }
    void* second = Allocate();
    const bool all = second != nullptr;
    std::free(second);
    if (all || freesFirst) {
        std::free(first);
    }
    return all;
}

} // namespace

extern "C" {

__declspec(dllexport) bool Sound() {
    return TwoBlocks(true);
}

__declspec(dllexport) bool Leaks() {
    return TwoBlocks(false);
}

__declspec(dllexport) bool Crashes() {
    auto* first = static_cast<volatile int*>(Allocate());
    *first = 1;
    std::free(const_cast<int*>(first));
    return TwoBlocks(true);
}

__declspec(dllexport) bool Hangs() {
    void* block = Allocate();
    while (block == nullptr) {
        ::Sleep(10);
    }
    std::free(block);
    return TwoBlocks(true);
}

__declspec(dllexport) bool Throws() {
    void* block = Allocate();
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    std::free(block);
    return true;
}

__declspec(dllexport) bool Aborts() {
    void* block = Allocate();
    if (block == nullptr) {
        std::abort();
    }
    std::free(block);
    return true;
}

__declspec(dllexport) bool StaysBroken() {
    g_broken = g_broken || !TwoBlocks(true);
    return !g_broken;
}

__declspec(dllexport) bool KeepsKey() {
    HKEY outer = nullptr;
    HKEY inner = nullptr;
    if (::RegOpenKeyExW(HKEY_CURRENT_USER, L"Software", 0, KEY_READ, &outer) != ERROR_SUCCESS) {
        return false;
    }
    if (::RegOpenKeyExW(outer, nullptr, 0, KEY_READ, &inner) != ERROR_SUCCESS) {
        return false; // without closing the outer one
    }
    ::RegCloseKey(inner);
    ::RegCloseKey(outer);
    return true;
}

__declspec(dllexport) bool ReadsText(const char* text) {
    volatile int* nowhere = nullptr;
    if (text[0] == '[' && text[1] == '\0') {
        *nowhere = 1; // one cut that it does not stand
    }
    return true;
}
}

BOOL WINAPI DllMain(HINSTANCE, DWORD reason, void*) {
    // Run by the program under test only, with the hooks in place: a plain load would come here before them.
    return reason != DLL_PROCESS_ATTACH || TwoBlocks(true);
}
