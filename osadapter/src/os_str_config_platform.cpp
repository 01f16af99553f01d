#include "osadapter/include/kosa.h"
#include "osadapter/src/runtime_guard.h"

#include <winsock2.h>

#include <string.h>

int KOSA_StriCmp(const char* a, const char* b) {
    return a == nullptr || b == nullptr ? -1 : _stricmp(a, b);
}

int KOSA_StriNCmp(const char* a, const char* b, size_t count) {
    return a == nullptr || b == nullptr ? -1 : _strnicmp(a, b, count);
}

char* KOSA_StrDup(const char* text) {
    return text == nullptr ? nullptr : _strdup(text);
}

char* KOSA_StrTok_S(char* text, const char* delimiters, char** context) {
    if (delimiters == nullptr || context == nullptr || (text == nullptr && *context == nullptr)) {
        return nullptr;
    }
    const RuntimeGuard guard;
    return strtok_s(text, delimiters, context);
}

char* KOSA_StrToLower(char* text) {
    return text == nullptr ? nullptr : _strlwr(text);
}

char* KOSA_StrToUper(char* text) {
    return text == nullptr ? nullptr : _strupr(text);
}

int KOSA_GetLastSocketErr(void) {
    return ::WSAGetLastError();
}

int KOSA_StrError_S(char* buffer, size_t size, int error) {
    if (buffer == nullptr) {
        return -1;
    }
    const RuntimeGuard guard;
    return strerror_s(buffer, size, error);
}
