#include "osadapter/include/kosa.h"

#include <stdlib.h>

#include <cerrno>
#include <cstring>

void* KOSA_MemMallocD(uint32_t size, int /*line*/, const char* /*unit*/) {
    return malloc(size);
}

void* KOSA_MemMallocS(uint32_t size, int fill, int line, const char* unit) {
    void* const memory = KOSA_MemMallocD(size, line, unit);
    if (memory != nullptr) {
        memset(memory, fill, size);
    }
    return memory;
}

void KOSA_MemFreeD(void* memory, int /*line*/, const char* /*unit*/) {
    free(memory);
}

void KOSA_MemFreeSetNullD(void** address) {
    if (address != nullptr) {
        KOSA_MemFreeD(*address, __LINE__, "os_str_config");
        *address = nullptr;
    }
}

int KOSA_MemCmp(const void* a, const void* b, size_t length) {
    return a == nullptr || b == nullptr ? -1 : memcmp(a, b, length);
}

// Deliberate: always null. KOSA_MemFreeD frees all memory of the family, and it could not free aligned memory.
void* KOSA_MemAlignD(uint32_t /*size*/, uint32_t /*alignment*/, int /*line*/, const char* /*unit*/) {
    return nullptr;
}

int KOSA_GetLastErr(void) {
    return errno;
}

int* KOSA_SetLastErr(int value) {
    errno = value;
    return &errno;
}

char* KOSA_StrError(int error) {
    return strerror(error);
}
