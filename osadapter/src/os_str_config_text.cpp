#include "osadapter/include/kosa.h"

#include <cstring>

size_t KOSA_StrLen(const char* text) {
    return text == nullptr ? 0 : strlen(text);
}

int KOSA_StrCmp(const char* a, const char* b) {
    if (a == nullptr || b == nullptr) {
        return -1;
    }
    const int order = strcmp(a, b);
    return (order > 0) - (order < 0);
}

char* KOSA_StrStr(const char* text, const char* pattern) {
    if (text == nullptr || pattern == nullptr) {
        return nullptr;
    }
    return const_cast<char*>(strstr(text, pattern));
}

char* KOSA_StrrChr(const char* text, int character) {
    return text == nullptr ? nullptr : const_cast<char*>(strrchr(text, character));
}
