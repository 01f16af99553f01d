#include "osadapter/include/zep.h"
#include "osadapter/src/path_encoding.h"

int ZEP_Utf8Check(char* buffer, int32_t size) {
    if (buffer == nullptr || size <= 0) {
        return 1;
    }
    const size_t bytes = static_cast<size_t>(size);
    size_t lastStart = 0;
    size_t covered = 0;
    while (covered < bytes) {
        if (buffer[covered] == '\0') {
            return 0;
        }
        lastStart = covered;
        covered += path_encoding::SequenceLength(static_cast<uint8_t>(buffer[covered]));
    }
    // The walk ends at the size or beyond it, so the last character always makes room for the terminator.
    buffer[lastStart] = '\0';
    return 1;
}
