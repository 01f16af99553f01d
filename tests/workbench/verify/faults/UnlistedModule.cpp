#include <windows.h>

// Imports a function that can fail and that no hook knows.
extern "C" __declspec(dllexport) bool Sound() {
    ULARGE_INTEGER free{};
    return ::GetDiskFreeSpaceExW(L"C:\\", &free, nullptr, nullptr) != 0;
}
