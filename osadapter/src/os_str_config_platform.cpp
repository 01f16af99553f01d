#include "osadapter/include/kosa.h"
#include "osadapter/src/runtime_guard.h"

#include <windows.h>

#include <limits.h>
#include <string.h>

#include <algorithm>

namespace {

using SocketErrorFunction = int(WINAPI*)();

/// Loads the socket library at the first call. An import would load it into every host at the start, and nothing else
/// here needs it. @return null when the system has no such library.
SocketErrorFunction FindSocketError() noexcept {
    const HMODULE library = ::LoadLibraryExW(L"ws2_32.dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
    const auto found = library == nullptr ? nullptr : ::GetProcAddress(library, "WSAGetLastError");
    return reinterpret_cast<SocketErrorFunction>(reinterpret_cast<void (*)()>(found));
}

} // namespace

int KOSA_StriCmp(const char* a, const char* b) {
    return a == nullptr || b == nullptr ? -1 : _stricmp(a, b);
}

int KOSA_StriNCmp(const char* a, const char* b, size_t count) {
    // The universal runtime treats a larger count as an invalid argument.
    return a == nullptr || b == nullptr ? -1 : _strnicmp(a, b, std::min<size_t>(count, INT_MAX));
}

char* KOSA_StrDup(const char* text) {
    return text == nullptr ? nullptr : _strdup(text);
}

char* KOSA_StrTok_S(char* text, const char* delimiters, char** context) {
    if (delimiters == nullptr || context == nullptr || (text == nullptr && *context == nullptr)) {
        return nullptr;
    }
    return strtok_s(text, delimiters, context);
}

char* KOSA_StrToLower(char* text) {
    return text == nullptr ? nullptr : _strlwr(text);
}

char* KOSA_StrToUper(char* text) {
    return text == nullptr ? nullptr : _strupr(text);
}

int KOSA_GetLastSocketErr(void) {
    const DWORD error = ::GetLastError();
    static const SocketErrorFunction socketError = FindSocketError();
    ::SetLastError(error); // the socket library keeps its error in the same place, and the lookup may have changed it
    return socketError != nullptr ? socketError() : static_cast<int>(error);
}

int KOSA_StrError_S(char* buffer, size_t size, int error) {
    if (buffer == nullptr) {
        return -1;
    }
    const RuntimeGuard guard;
    return strerror_s(buffer, size, error);
}
