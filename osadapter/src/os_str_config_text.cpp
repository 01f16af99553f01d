#include "osadapter/include/kosa.h"
#include "osadapter/include/zep.h"
#include "osadapter/src/adapter_memory.h"
#include "osadapter/src/path_encoding.h"

#include <ctype.h>

#include <algorithm>
#include <cstdarg>
#include <cstring>

namespace {

constexpr char kUnit[] = "os_str_config";
constexpr int kMaxByte = 0xFF;

// Deliberate: an empty text ends the list as a null pointer does.
const char* NextText(va_list* texts) noexcept {
    const char* const text = va_arg(*texts, const char*);
    return IsEmptyText(text) ? nullptr : text;
}

size_t LengthOfTexts(va_list* texts) noexcept {
    size_t length = 0;
    while (const char* const text = NextText(texts)) {
        length += strlen(text);
    }
    return length;
}

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

// The runtime's tables cover the values of a byte. A sign-extended char lies outside them and has no case.
int KOSA_CharToLower(int character) {
    return character < 0 || character > kMaxByte ? character : tolower(character);
}

int KOSA_CharToUpper(int character) {
    return character < 0 || character > kMaxByte ? character : toupper(character);
}

char* KOSA_StrConcat(const char* first, ...) {
    if (first == nullptr) {
        return nullptr;
    }
    va_list texts;
    va_start(texts, first);
    const size_t bytes = strlen(first) + LengthOfTexts(&texts) + 1;
    va_end(texts);
    if (bytes > UINT32_MAX) {
        return nullptr;
    }
    char* const joined = static_cast<char*>(KOSA_MemMallocS(static_cast<uint32_t>(bytes), 0, __LINE__, kUnit));
    if (joined == nullptr) {
        return nullptr;
    }
    char* end = joined;
    va_start(texts, first);
    for (const char* text = first; text != nullptr; text = NextText(&texts)) {
        end = std::copy_n(text, strlen(text), end);
    }
    va_end(texts);
    return joined;
}

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
    // The walk ends at the size or beyond it, so the last character is dropped to make room for the terminator.
    buffer[lastStart] = '\0';
    return 1;
}
