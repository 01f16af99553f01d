#include "workbench/verify/faults/Hooks.h"

#include "workbench/verify/core/ImportPatch.h"
#include "workbench/verify/core/Report.h"
#include "workbench/verify/faults/Blocks.h"
#include "workbench/verify/faults/Injector.h"

#include <oleauto.h>
#include <shellapi.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cwchar>
#include <deque>
#include <map>
#include <sstream>
#include <utility>

namespace verify {
namespace {

// The hooks know no types. On 64-bit Windows every function has the same calling convention: arguments are words of
// which the caller cleans up those on the stack, and the callee ignores those that it does not have. No hooked function
// takes or returns a floating-point number by itself. The longest list is CreateWindowExW's; the rest is for printf.
constexpr std::size_t kArguments = 16;
using Word = std::intptr_t;
using Words = std::array<Word, kArguments>;

struct Hook;
using Body = Word (*)(Hook&, Words&);

struct Extra {
    bool failsAfterwards = false; ///< it gives something back, also when it reports a failure
    bool hostThreadOnly = false;  ///< the channel's thread asks on every tick; only Outlook's thread counts
    Thing opens = Thing::None;    ///< what a success opens
    Thing closes = Thing::None;   ///< what the call closes
    std::size_t clears = 0;       ///< the argument, counted from 1, that a failed call sets to null
    Body body = nullptr;          ///< in place of the plain call of the original
};

/// Functions that fail in the same way, with blanks between.
struct Group {
    const char* functions;
    KindMask kinds = 0; // none: only watched
    Failure failure{};
    Extra extra{};
};

struct Hook {
    std::string name;
    const Group* group = nullptr;
    void* original = nullptr; // set when it is in place
};

/// The channel's thread sleeps 20 ms in each round, and a run waits for a few rounds. Its clock and its sleep are made
/// this much faster together.
constexpr int kFaster = 24;
constexpr std::int64_t kFullLog = 1LL << 30; // bytes

std::atomic<std::uint64_t> g_rounds{0};
std::atomic<std::uint64_t> g_launches{0};
std::atomic<int> g_fullAnswers{0};

template <std::size_t... At>
Word CallOriginal(const Hook& hook, const Words& words, std::index_sequence<At...>) {
    using Function = Word (*)(decltype(static_cast<Word>(At))...);
    return reinterpret_cast<Function>(hook.original)(words[At]...);
}
Word CallOriginal(const Hook& hook, const Words& words) {
    return CallOriginal(hook, words, std::make_index_sequence<kArguments>());
}

void* Pointer(Word word) {
    return reinterpret_cast<void*>(word);
}

// The bodies of the hooks that do more than to fail.

Word Reallocate(Hook& hook, Words& words) {
    const bool had = words[0] != 0;
    const Word block = CallOriginal(hook, words);
    const bool has = block != 0 || (had && words[1] != 0); // a block that could not grow stays
    Account(Thing::Block, (has ? 1 : 0) - (had ? 1 : 0));
    return block;
}

/// Without a buffer the C library allocates one, which the module frees.
Word NameFolder(Hook& hook, Words& words) {
    const Word name = CallOriginal(hook, words);
    Account(Thing::Block, words[0] == 0 && name != 0 ? 1 : 0);
    return name;
}

Word AllocateGlobal(Hook& hook, Words& words) {
    const Word block = CallOriginal(hook, words);
    AccountHandle(Thing::GlobalBlock, Pointer(block));
    return block;
}

/// The bitmap goes to a picture, which frees it where no hook sees it.
Word CreateHbitmap(Hook& hook, Words& words) {
    const Word status = CallOriginal(hook, words);
    AccountHandle(Thing::Bitmap, static_cast<int>(status) == 0 ? *static_cast<void**>(Pointer(words[1])) : nullptr);
    return status;
}

Word SleepLess(Hook& hook, Words& words) {
    ++g_rounds;
    words[0] = std::max<Word>(static_cast<DWORD>(words[0]) / kFaster, 1);
    return CallOriginal(hook, words);
}

Word CountFaster(Hook& hook, Words& words) {
    const Word known = CallOriginal(hook, words);
    static_cast<LARGE_INTEGER*>(Pointer(words[0]))->QuadPart *= kFaster;
    return known;
}

Word Launch(Hook&, Words&) {
    constexpr Word kLaunched = 33;
    ++g_launches;
    return kLaunched;
}

// The toolchain's 64-bit position functions call fgetpos.
Word GetPosition(Hook& hook, Words& words) {
    if (g_fullAnswers == 0) {
        return CallOriginal(hook, words);
    }
    --g_fullAnswers;
    *static_cast<std::int64_t*>(Pointer(words[1])) = kFullLog;
    return 0;
}

Word EndProcess(Hook& hook, Words& words) {
    char text[100];
    std::snprintf(text, sizeof text, "crash: the module calls %s\n", hook.name.c_str());
    SayRaw(text);
    ::TerminateProcess(::GetCurrentProcess(), kViolations);
    return CallOriginal(hook, words);
}

constexpr KindMask kAllocation = Mask(Kind::Allocation);
constexpr KindMask kGdiplus = Mask(Kind::Gdiplus);
constexpr KindMask kWindows = Mask(Kind::Windows);
constexpr KindMask kThreads = Mask(Kind::Threads);
constexpr KindMask kMessages = Mask(Kind::Messages);
constexpr KindMask kResources = Mask(Kind::Resources);
constexpr KindMask kRegistry = Mask(Kind::Registry);
constexpr KindMask kShell = Mask(Kind::Shell);
constexpr KindMask kCom = Mask(Kind::Com);
constexpr KindMask kConversion = Mask(Kind::Conversion);
constexpr KindMask kModules = Mask(Kind::Modules);

constexpr int kGdiOutOfMemory = 3;
constexpr int kGdiGenericError = 1;

// Every function that the module imports and that can fail, and the few that are watched.
const Group kGroups[] = {
    // memory
    {"malloc calloc _strdup", kAllocation, {0, ENOMEM}, {.opens = Thing::Block}},
    {"realloc", kAllocation, {0, ENOMEM}, {.body = &Reallocate}},
    {"free", 0, {}, {.closes = Thing::Block}},
    {"GlobalAlloc", kAllocation, {0, ERROR_NOT_ENOUGH_MEMORY}, {.body = &AllocateGlobal}},
    {"GlobalLock", kAllocation, {0, ERROR_NOT_ENOUGH_MEMORY}},
    {"SysAllocString SysAllocStringLen SysAllocStringByteLen", kAllocation},
    // time, launch, end
    {"Sleep", 0, {}, {.body = &SleepLess}},
    {"QueryPerformanceCounter", 0, {}, {.body = &CountFaster}},
    {"ShellExecuteW", kShell, {SE_ERR_NOASSOC}, {.body = &Launch}},
    {"abort exit _amsg_exit _wassert", 0, {}, {.body = &EndProcess}},
    // windows
    {"RegisterClassExW CreateWindowExW SetPropW", kWindows, {0, ERROR_NOT_ENOUGH_MEMORY}},
    {"UnregisterClassW", kWindows, {0, ERROR_CLASS_HAS_WINDOWS}, {.failsAfterwards = true}},
    {"DestroyWindow", kWindows, {0, ERROR_ACCESS_DENIED}, {.failsAfterwards = true}},
    {"DialogBoxParamW", kWindows, {-1, ERROR_NOT_ENOUGH_MEMORY}},
    {"EndDialog RemovePropW", kWindows, {0, ERROR_INVALID_WINDOW_HANDLE}, {.failsAfterwards = true}},
    {"FindWindowW FindWindowExW", kWindows, {0, ERROR_NOT_ENOUGH_MEMORY}, {.hostThreadOnly = true}},
    {"IsWindow GetWindowThreadProcessId", kWindows, {0, ERROR_INVALID_WINDOW_HANDLE}, {.hostThreadOnly = true}},
    {"GetWindowRect GetPropW", kWindows, {0, ERROR_INVALID_WINDOW_HANDLE}},
    {"GetSystemMetrics", kWindows},
    {"SetFocus", kWindows, {0, ERROR_ACCESS_DENIED}},
    {"GetMessageW", kMessages, {-1, ERROR_INVALID_WINDOW_HANDLE}},
    {"PostMessageW", kMessages, {0, ERROR_NOT_ENOUGH_QUOTA}},
    {"PostThreadMessageW", kMessages, {0, ERROR_INVALID_THREAD_ID}},
    {"SendMessageTimeoutW", kMessages, {0, ERROR_TIMEOUT}},
    // pictures
    {"DeleteObject", kGdiplus, {0}, {.failsAfterwards = true}},
    {"GdipAlloc", kGdiplus},
    {"GdipCloneImage", kGdiplus, {kGdiOutOfMemory}, {.opens = Thing::Image}},
    {"GdipCreateBitmapFromStreamICM GdipCreateBitmapFromStream", kGdiplus, {kGdiOutOfMemory}, {.opens = Thing::Image}},
    {"GdipCreateHBITMAPFromBitmap", kGdiplus, {kGdiOutOfMemory}, {.body = &CreateHbitmap}},
    {"GdipDisposeImage", kGdiplus, {kGdiGenericError}, {.failsAfterwards = true, .closes = Thing::Image}},
    {"GdiplusStartup", kGdiplus, {kGdiOutOfMemory}, {.opens = Thing::GdiplusStart}},
    {"GdiplusShutdown", 0, {}, {.closes = Thing::GdiplusStart}},
    // registry, shell, COM
    {"RegCreateKeyExW", kRegistry, {ERROR_ACCESS_DENIED}, {.opens = Thing::Key, .clears = 8}},
    {"RegOpenKeyExW", kRegistry, {ERROR_ACCESS_DENIED}, {.opens = Thing::Key, .clears = 5}},
    {"RegCloseKey", kRegistry, {ERROR_INVALID_HANDLE}, {.failsAfterwards = true, .closes = Thing::Key}},
    {"RegSetKeyValueW RegDeleteKeyW RegDeleteTreeW", kRegistry, {ERROR_ACCESS_DENIED}},
    {"SHGetSpecialFolderLocation", kShell, {E_FAIL}, {.clears = 3}},
    {"SHGetPathFromIDListW PathAppendW PathCanonicalizeW", kShell},
    {"CreateStreamOnHGlobal", kCom, {E_OUTOFMEMORY}, {.clears = 3}},
    {"SetErrorInfo VariantChangeType", kCom, {E_OUTOFMEMORY}},
    {"StringFromGUID2", kCom},
    {"LoadRegTypeLib", kCom, {TYPE_E_LIBNOTREGISTERED}, {.clears = 5}},
    {"LoadTypeLib", kCom, {TYPE_E_CANTLOADLIBRARY}, {.clears = 2}},
    {"RegisterTypeLib", kCom, {TYPE_E_REGISTRYACCESS}},
    {"OleCreatePictureIndirect", kCom, {E_OUTOFMEMORY}, {.clears = 4}},
    {"VariantClear", kCom, {DISP_E_BADVARTYPE}, {.failsAfterwards = true}},
    // threads
    {"CreateThread ConvertStringSecurityDescriptorToSecurityDescriptorW", kThreads, {0, ERROR_NOT_ENOUGH_MEMORY}},
    {"CreateEventW CreateMutexExW OpenThread", kThreads, {0, ERROR_NO_SYSTEM_RESOURCES}},
    {"ReleaseMutex", kThreads, {0, ERROR_NOT_OWNER}, {.failsAfterwards = true}},
    {"SetEvent ResetEvent CloseHandle", kThreads, {0, ERROR_INVALID_HANDLE}, {.failsAfterwards = true}},
    {"WaitForSingleObject", kThreads, {-1, ERROR_INVALID_HANDLE}},
    {"GetProcessIdOfThread", kThreads, {0, ERROR_INVALID_HANDLE}},
    {"TerminateThread", kThreads, {0, ERROR_ACCESS_DENIED}},
    {"InitializeSecurityDescriptor SetSecurityDescriptorDacl", kThreads, {0, ERROR_INVALID_PARAMETER}},
    {"_beginthreadex", kThreads, {0, EAGAIN}},
    // resources, modules, texts
    {"LoadImageW LoadStringW FindResourceW SizeofResource", kResources, {0, ERROR_RESOURCE_NAME_NOT_FOUND}},
    {"LoadResource LockResource", kResources, {0, ERROR_NOT_ENOUGH_MEMORY}},
    {"GetModuleHandleExW GetModuleHandleW GetModuleFileNameW LoadLibraryW LoadLibraryExW",
     kModules,
     {0, ERROR_MOD_NOT_FOUND}},
    {"GetProcAddress", kModules, {0, ERROR_PROC_NOT_FOUND}},
    {"VirtualProtect", kModules, {0, ERROR_ACCESS_DENIED}},
    {"VirtualQuery", kModules, {0, ERROR_INVALID_PARAMETER}},
    {"MultiByteToWideChar WideCharToMultiByte", kConversion, {0, ERROR_NO_UNICODE_TRANSLATION}},
    {"FormatMessageA", kConversion, {0, ERROR_MR_MID_NOT_FOUND}},
    {"_vsnprintf _vscprintf _vsnwprintf_s", kConversion, {-1, EILSEQ}},
    {"setlocale strftime wcsftime", kConversion},
    // files
    {"CopyFileW DeviceIoControl FindNextFileW", kFileKinds, {0, ERROR_ACCESS_DENIED}},
    {"FindFirstFileW", kFileKinds, {-1, ERROR_ACCESS_DENIED}, {.opens = Thing::Search}},
    {"FindClose", kFileKinds, {0, ERROR_ACCESS_DENIED}, {.failsAfterwards = true, .closes = Thing::Search}},
    {"fopen _wfopen tmpfile _fdopen", kFileKinds, {0}, {.opens = Thing::Stream}},
    {"fclose", kFileKinds, {-1}, {.failsAfterwards = true, .closes = Thing::Stream}},
    {"fread fwrite fgets", kFileKinds, {0}},
    {"_wgetcwd", kFileKinds, {0}, {.body = &NameFolder}},
    {"fflush fgetc getc fputc putc fputs ungetc fseek fsetpos setvbuf vfprintf fprintf fwprintf printf",
     kFileKinds,
     {-1}},
    {"getwc putwc fputwc ungetwc", kFileKinds, {WEOF}},
    {"fgetpos", kFileKinds, {-1}, {.body = &GetPosition}},
    {"_wopen _wcreat _read _write _lseek _lseeki64 _chsize _filelengthi64 _fileno _waccess _wchdir _wmkdir _wrmdir "
     "_wremove _wrename _fstat64 _wstat64",
     kFileKinds,
     {-1}},
    {"_close", kFileKinds, {-1}, {.failsAfterwards = true}},
};

/// Something was opened: a pointer that is not the failure's, or a status of 0.
bool Opened(const Group& group, Word result) {
    const bool isPointer = group.failure.answer == 0 || group.failure.answer == -1;
    return isPointer ? result != 0 && result != group.failure.answer : static_cast<int>(result) == 0;
}

Word Run(Hook& hook, Words& words) {
    const Group& group = *hook.group;
    const Extra& extra = group.extra;
    const bool strikes = group.kinds != 0 && Strikes(hook.name.c_str(), group.kinds, extra.hostThreadOnly);
    if (strikes && !extra.failsAfterwards) {
        GiveReason(group.kinds, group.failure);
        if (extra.clears != 0 && words[extra.clears - 1] != 0) {
            *static_cast<void**>(Pointer(words[extra.clears - 1])) = nullptr;
        }
        return group.failure.answer;
    }
    if (extra.closes != Thing::None && words[0] != 0) { // null is allowed, and closes nothing
        Account(extra.closes, -1);
    }
    const Word result = extra.body != nullptr ? extra.body(hook, words) : CallOriginal(hook, words);
    if (extra.opens != Thing::None && Opened(group, result)) {
        Account(extra.opens, 1);
    }
    if (!strikes) {
        return result;
    }
    GiveReason(group.kinds, group.failure);
    return group.failure.answer;
}

constexpr std::size_t kMostHooks = 256;
std::deque<Hook> g_hooks; // in the order of the entries

template <std::size_t Number, class... Each>
Word Enter(Each... words) {
    Words all{words...};
    return Run(g_hooks[Number], all);
}

template <std::size_t Number, std::size_t... At>
void* EntryOf(std::index_sequence<At...>) {
    Word (*const entry)(decltype(static_cast<Word>(At))...) = &Enter<Number>;
    return reinterpret_cast<void*>(entry);
}

/// As many functions as there may be hooks, each of which knows its own number only.
template <std::size_t... Number>
std::array<void*, kMostHooks> MakeEntries(std::index_sequence<Number...>) {
    return {EntryOf<Number>(std::make_index_sequence<kArguments>())...};
}

template <class Take>
void ForEachWord(const char* words, Take&& take) {
    std::istringstream stream(words);
    for (std::string word; stream >> word;) {
        take(word);
    }
}

/// By name; -1 for the excluded ones.
const std::map<std::string, int, std::less<>>& HookNumbers() {
    static const std::map<std::string, int, std::less<>> numbers = [] {
        std::map<std::string, int, std::less<>> made;
        for (const Group& group : kGroups) {
            ForEachWord(group.functions, [&](const std::string& name) {
                made[name] = static_cast<int>(g_hooks.size());
                g_hooks.push_back({name, &group});
            });
        }
        for (const Exclusion& group : Exclusions()) {
            ForEachWord(group.functions, [&](const std::string& name) { made[name] = -1; });
        }
        return made;
    }();
    return numbers;
}

} // namespace

std::vector<std::string> HookImports(HMODULE module) {
    static const std::array<void*, kMostHooks> entries = MakeEntries(std::make_index_sequence<kMostHooks>());
    std::vector<std::string> unknown;
    for (const Import& import : ImportsOf(module)) {
        const auto found = HookNumbers().find(import.name != nullptr ? import.name : "");
        if (found == HookNumbers().end()) {
            unknown.push_back(std::string(import.library) + " " + (import.name != nullptr ? import.name : "by number"));
        } else if (found->second >= 0) {
            const auto number = static_cast<std::size_t>(found->second);
            g_hooks[number].original = Exchange(import.slot, entries.at(number));
        }
    }
    return unknown;
}

// A function that can fail belongs into the hooks. Here stand those that cannot, or that tell nobody when they do.
const std::vector<Exclusion>& Exclusions() {
    static const std::vector<Exclusion> exclusions = {
        {"it has no result, or one for every argument",
         "SysFreeString VariantInit SysStringLen SysStringByteLen CoTaskMemFree GdipFree GlobalFree GlobalUnlock "
         "LocalFree PathFindFileNameW GetLastError SetLastError WSAGetLastError OutputDebugStringA IsDebuggerPresent "
         "IsDBCSLeadByteEx SwitchToThread _errno clearerr feof ferror rewind strerror"},
        {"the system keeps it from failing",
         "DeleteCriticalSection EnterCriticalSection InitializeCriticalSection LeaveCriticalSection "
         "TryEnterCriticalSection GetCurrentProcess GetCurrentProcessId GetCurrentThread GetCurrentThreadId GetACP "
         "GetLocalTime GetSystemTimeAsFileTime GetTickCount64 QueryPerformanceFrequency "
         "RemoveVectoredExceptionHandler"},
        {"null is an ordinary answer, which every first use of the slot gets", "TlsGetValue"},
        {"exceptions are raised and unwound by it",
         "RaiseException RtlCaptureContext RtlLookupFunctionEntry RtlUnwindEx RtlVirtualUnwind __C_specific_handler "
         "_setjmp longjmp"},
        {"the result is the receiver's, or says only that there was no message",
         "DefWindowProcW DispatchMessageW PeekMessageW PostQuitMessage SendMessageW TranslateMessage"},
        {"it cannot fail for a window that is there", "IsWindowVisible SetWindowLongPtrW"},
        {"it computes on memory alone",
         "_stricmp _strlwr _strnicmp _strupr _ultoa atof atoi islower isspace isupper iswctype localeconv memchr "
         "memcmp memcpy memcpy_s memmove memset qsort strchr strcmp strcoll strcspn strlen strncmp strpbrk strrchr "
         "strstr strtok_s strtol strtoul strtod strxfrm tolower toupper towlower towupper wcscoll wcslen wcstol "
         "wcsxfrm strerror_s strcpy strncpy wcscpy _strtoi64 _strtoui64 _snwprintf"},
        {"it belongs to the runtime's own start and end",
         "___lc_codepage_func ___mb_cur_max_func __iob_func _endthreadex _initterm _lock _unlock signal _onexit "
         "__dllonexit atexit"},
    };
    return exclusions;
}

std::uint64_t ChannelRounds() {
    return g_rounds;
}

std::uint64_t Launches() {
    return g_launches;
}

void PretendLogIsFull() {
    g_fullAnswers = 2; // before the rotation, and again once other processes had time to rotate
}

} // namespace verify
