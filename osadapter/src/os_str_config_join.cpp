#include "osadapter/include/kosa.h"
#include "osadapter/src/adapter_memory.h"

#include <cstdarg>
#include <cstring>

namespace {

constexpr char kUnit[] = "os_str_config";

// Deliberate: an empty text ends the list like a null pointer. Callers rely on it to leave optional parts off.
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

char* KOSA_StrConcat(const char* first, ...) {
    if (first == nullptr) {
        return nullptr;
    }
    const size_t firstLength = strlen(first);
    va_list texts;
    va_start(texts, first);
    const size_t bytes = firstLength + LengthOfTexts(&texts) + 1;
    va_end(texts);
    if (bytes > UINT32_MAX) {
        return nullptr;
    }
    char* const joined = static_cast<char*>(KOSA_MemMallocS(static_cast<uint32_t>(bytes), 0, __LINE__, kUnit));
    if (joined == nullptr) {
        return nullptr;
    }
    memcpy(joined, first, firstLength);
    char* end = joined + firstLength;
    va_start(texts, first);
    while (const char* const text = NextText(&texts)) {
        const size_t length = strlen(text);
        memcpy(end, text, length);
        end += length;
    }
    va_end(texts);
    return joined;
}
