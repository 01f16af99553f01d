#include "osadapter/include/kosa.h"

#include <stdlib.h>

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
