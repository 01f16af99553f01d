#include "osadapter/include/kosa.h"

#include <ctype.h>

#include <cstring>

namespace {

constexpr int kMaxByte = 0xFF;

} // namespace

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

int KOSA_StrNCmp(const char* a, const char* b, size_t count) {
    return a == nullptr || b == nullptr ? -1 : strncmp(a, b, count);
}

char* KOSA_StrChr(const char* text, int character) {
    return text == nullptr ? nullptr : const_cast<char*>(strchr(text, character));
}

char* KOSA_StrrChr(const char* text, int character) {
    return text == nullptr ? nullptr : const_cast<char*>(strrchr(text, character));
}

char* KOSA_StrStr(const char* text, const char* pattern) {
    if (text == nullptr || pattern == nullptr) {
        return nullptr;
    }
    return const_cast<char*>(strstr(text, pattern));
}

// The runtime's tables hold bytes; a sign-extended char lies outside them and has no case.
int KOSA_CharToLower(int character) {
    return character < 0 || character > kMaxByte ? character : tolower(character);
}

int KOSA_CharToUpper(int character) {
    return character < 0 || character > kMaxByte ? character : toupper(character);
}
