#include "workbench/faults/Hooks.h"

namespace faults {

// A function that can fail belongs into the hooks. Here stand those that cannot, or that tell nobody when they do.
const std::vector<Exclusion>& Exclusions() {
    static const std::vector<Exclusion> exclusions = {
        {"it has no result, or one for every argument",
         {"SysFreeString",    "VariantInit",    "SysStringLen",    "SysStringByteLen",   "CoTaskMemFree",
          "GdipFree",         "GlobalFree",     "GlobalUnlock",    "LocalFree",          "PathFindFileNameW",
          "GetLastError",     "SetLastError",   "WSAGetLastError", "OutputDebugStringA", "IsDebuggerPresent",
          "IsDBCSLeadByteEx", "SwitchToThread", "_errno",          "clearerr",           "feof",
          "ferror",           "rewind",         "strerror"}},
        {"the system keeps it from failing",
         {"DeleteCriticalSection", "EnterCriticalSection", "InitializeCriticalSection", "LeaveCriticalSection",
          "TryEnterCriticalSection", "GetCurrentProcess", "GetCurrentProcessId", "GetCurrentThread",
          "GetCurrentThreadId", "GetACP", "GetLocalTime", "GetSystemTimeAsFileTime", "GetTickCount64",
          "QueryPerformanceFrequency", "RemoveVectoredExceptionHandler"}},
        {"null is an ordinary answer, which every first use of the slot gets", {"TlsGetValue"}},
        {"exceptions are raised and unwound by it",
         {"RaiseException", "RtlCaptureContext", "RtlLookupFunctionEntry", "RtlUnwindEx", "RtlVirtualUnwind",
          "__C_specific_handler", "_setjmp", "longjmp"}},
        {"the result is the receiver's, or says only that there was no message",
         {"DefWindowProcW", "DispatchMessageW", "PeekMessageW", "PostQuitMessage", "SendMessageW", "TranslateMessage"}},
        {"it cannot fail for a window that is there", {"IsWindowVisible", "SetWindowLongPtrW"}},
        {"it computes on memory alone",
         {"_stricmp", "_strlwr",    "_strnicmp", "_strupr",    "_ultoa",   "atof",      "atoi",       "islower",
          "isspace",  "isupper",    "iswctype",  "localeconv", "memchr",   "memcmp",    "memcpy",     "memcpy_s",
          "memmove",  "memset",     "qsort",     "strchr",     "strcmp",   "strcoll",   "strcspn",    "strlen",
          "strncmp",  "strpbrk",    "strrchr",   "strstr",     "strtok_s", "strtol",    "strtoul",    "strtod",
          "strxfrm",  "tolower",    "toupper",   "towlower",   "towupper", "wcscoll",   "wcslen",     "wcstol",
          "wcsxfrm",  "strerror_s", "strcpy",    "strncpy",    "wcscpy",   "_strtoi64", "_strtoui64", "_snwprintf"}},
        {"it belongs to the runtime's own start and end",
         {"___lc_codepage_func", "___mb_cur_max_func", "__iob_func", "_endthreadex", "_initterm", "_lock", "_unlock",
          "signal", "_onexit", "__dllonexit", "atexit"}},
    };
    return exclusions;
}

} // namespace faults
