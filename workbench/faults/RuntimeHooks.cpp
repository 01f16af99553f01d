#include "workbench/faults/Hook.h"
#include "workbench/faults/Hooks.h"

#include <fcntl.h>
#include <io.h>
#include <process.h>
#include <sys/stat.h>
#include <sys/types.h>

#include <cerrno>
#include <clocale>
#include <cstdarg>
#include <cstdio>
#include <ctime>
#include <cwchar>

#define FAULT_HOOK(function) MakeHook<#function, decltype(::function)>

namespace faults {
namespace {

constexpr KindMask kConversion = Mask(Kind::Conversion);

// The file kinds bring their own errno.
constexpr Failure kZero = {0, Reason::Errno};
constexpr Failure kMinusOne = {-1, Reason::Errno};
constexpr Failure kEnd = {EOF, Reason::Errno};

std::vector<HookInfo*> StreamHooks() {
    return {
        FAULT_HOOK(fopen)(kFileKinds, kZero, {.opens = "streams"}),
        FAULT_HOOK(_wfopen)(kFileKinds, kZero, {.opens = "streams"}),
        FAULT_HOOK(tmpfile)(kFileKinds, kZero, {.opens = "streams"}),
        FAULT_HOOK(fclose)(kFileKinds, kEnd, {.failsAfterwards = true, .closes = "streams"}),
        FAULT_HOOK(fflush)(kFileKinds, kEnd),
        FAULT_HOOK(fread)(kFileKinds, kZero),
        FAULT_HOOK(fwrite)(kFileKinds, kZero),
        FAULT_HOOK(fgetc)(kFileKinds, kEnd),
        FAULT_HOOK(getc)(kFileKinds, kEnd),
        FAULT_HOOK(getwc)(kFileKinds, {WEOF, Reason::Errno}),
        FAULT_HOOK(fputc)(kFileKinds, kEnd),
        FAULT_HOOK(putc)(kFileKinds, kEnd),
        FAULT_HOOK(putwc)(kFileKinds, {WEOF, Reason::Errno}),
        FAULT_HOOK(fputwc)(kFileKinds, {WEOF, Reason::Errno}),
        FAULT_HOOK(fgets)(kFileKinds, kZero),
        FAULT_HOOK(fputs)(kFileKinds, kEnd),
        FAULT_HOOK(ungetc)(kFileKinds, kEnd),
        FAULT_HOOK(ungetwc)(kFileKinds, {WEOF, Reason::Errno}),
        FAULT_HOOK(fseek)(kFileKinds, kMinusOne),
        FAULT_HOOK(fsetpos)(kFileKinds, kMinusOne),
        FAULT_HOOK(setvbuf)(kFileKinds, kMinusOne),
        FAULT_HOOK(_fdopen)(kFileKinds, kZero, {.opens = "streams"}),
        MakeHook<"vfprintf", int(FILE*, const char*, va_list)>(kFileKinds, kMinusOne),
    };
}

std::vector<HookInfo*> DescriptorHooks() {
    return {
        MakeHook<"_wopen", int(const wchar_t*, int, int)>(kFileKinds, kMinusOne),
        FAULT_HOOK(_wcreat)(kFileKinds, kMinusOne),
        FAULT_HOOK(_close)(kFileKinds, kMinusOne, {.failsAfterwards = true}),
        FAULT_HOOK(_read)(kFileKinds, kMinusOne),
        FAULT_HOOK(_write)(kFileKinds, kMinusOne),
        FAULT_HOOK(_lseek)(kFileKinds, kMinusOne),
        FAULT_HOOK(_lseeki64)(kFileKinds, kMinusOne),
        FAULT_HOOK(_chsize)(kFileKinds, kMinusOne),
        FAULT_HOOK(_filelengthi64)(kFileKinds, kMinusOne),
        FAULT_HOOK(_fileno)(kFileKinds, kMinusOne),
        FAULT_HOOK(_waccess)(kFileKinds, kMinusOne),
        FAULT_HOOK(_wchdir)(kFileKinds, kMinusOne),
        FAULT_HOOK(_wmkdir)(kFileKinds, kMinusOne),
        FAULT_HOOK(_wrmdir)(kFileKinds, kMinusOne),
        FAULT_HOOK(_wremove)(kFileKinds, kMinusOne),
        FAULT_HOOK(_wrename)(kFileKinds, kMinusOne),
        FAULT_HOOK(_wgetcwd)(kFileKinds, kZero),
        MakeHook<"_fstat64", int(int, void*)>(kFileKinds, kMinusOne),
        MakeHook<"_wstat64", int(const wchar_t*, void*)>(kFileKinds, kMinusOne),
    };
}

std::vector<HookInfo*> OtherHooks() {
    constexpr Failure kUnformatted = {-1, Reason::Errno, EILSEQ};
    return {
        MakeHook<"_vsnprintf", int(char*, std::size_t, const char*, va_list)>(kConversion, kUnformatted),
        MakeHook<"_vscprintf", int(const char*, va_list)>(kConversion, kUnformatted),
        MakeHook<"_vsnwprintf_s", int(wchar_t*, std::size_t, std::size_t, const wchar_t*, va_list)>(kConversion,
                                                                                                    kUnformatted),
        FAULT_HOOK(setlocale)(kConversion, {0}),
        FAULT_HOOK(strftime)(kConversion, {0}),
        FAULT_HOOK(wcsftime)(kConversion, {0}),
        FAULT_HOOK(_beginthreadex)(Mask(Kind::Threads), {0, Reason::Errno, EAGAIN}),
    };
}

} // namespace

std::vector<HookInfo*> RuntimeHooks() {
    std::vector<HookInfo*> hooks;
    for (const auto& group : {StreamHooks(), DescriptorHooks(), OtherHooks()}) {
        hooks.insert(hooks.end(), group.begin(), group.end());
    }
    return hooks;
}

} // namespace faults
