#include "osadapter/include/kosa.h"

#include <windows.h>

int KOSA_Ioctl(int32_t device, uint32_t code, void* input, uint32_t inputSize, void* output, uint32_t outputSize,
               uint32_t* returned) {
    // Handles carry 32 significant bits and are widened with their sign, which keeps INVALID_HANDLE_VALUE what it is.
    const HANDLE handle = reinterpret_cast<HANDLE>(static_cast<intptr_t>(device));
    DWORD written = 0;
    const BOOL done = ::DeviceIoControl(handle, code, input, inputSize, output, outputSize, &written, nullptr);
    if (returned != nullptr) {
        *returned = written;
    }
    return done ? 0 : -1;
}

int KOSA_CloseHandle(void* handle) {
    return ::CloseHandle(handle) ? 0 : -1;
}
