#include "osadapter/include/kosa.h"
#include "osadapter/src/runtime_guard.h"

#include <windows.h>

#include <limits.h>
#include <string.h>

#include <algorithm>

namespace {

using SocketErrorFunction = int(WINAPI*)();

/// The socket library's own function. It is looked for at the first call: nothing else here needs the library, and an
/// import would load it into every host at the start.
SocketErrorFunction FindSocketError() noexcept {
    const HMODULE library = ::LoadLibraryExW(L"ws2_32.dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
    const auto found = library == nullptr ? nullptr : ::GetProcAddress(library, "WSAGetLastError");
    return reinterpret_cast<SocketErrorFunction>(reinterpret_cast<void*>(found));
}

} // namespace

int KOSA_StriCmp(const char* a, const char* b) {
    return a == nullptr || b == nullptr ? -1 : _stricmp(a, b);
}

int KOSA_StriNCmp(const char* a, const char* b, size_t count) {
    // The universal runtime takes a larger count for an invalid argument.
    return a == nullptr || b == nullptr ? -1 : _strnicmp(a, b, std::min<size_t>(count, INT_MAX));
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
    const DWORD error = ::GetLastError(); // also what a program without that library is told
    static const SocketErrorFunction socketError = FindSocketError();
    ::SetLastError(error); // the thread's error is the sockets' error, and the look-up may have changed it
    return socketError != nullptr ? socketError() : static_cast<int>(error);
}

int KOSA_StrError_S(char* buffer, size_t size, int error) {
    if (buffer == nullptr) {
        return -1;
    }
    const RuntimeGuard guard;
    return strerror_s(buffer, size, error);
}
