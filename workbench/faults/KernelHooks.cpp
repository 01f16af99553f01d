#include "workbench/faults/Hook.h"
#include "workbench/faults/Hooks.h"

#include <windows.h>
#include <sddl.h>

#define FAULT_HOOK(function) MakeHook<#function, decltype(::function)>

namespace faults {
namespace {

constexpr KindMask kThreads = Mask(Kind::Threads);
constexpr KindMask kResources = Mask(Kind::Resources);
constexpr KindMask kConversion = Mask(Kind::Conversion);
constexpr KindMask kModules = Mask(Kind::Modules);
constexpr std::intptr_t kAllOnes = -1; // WAIT_FAILED, TLS_OUT_OF_INDEXES, INVALID_HANDLE_VALUE …

constexpr Failure NoneWith(int error) {
    return {0, Reason::LastError, error};
}
constexpr Failure AllOnesWith(int error) {
    return {kAllOnes, Reason::LastError, error};
}

std::vector<HookInfo*> ThreadHooks() {
    return {
        FAULT_HOOK(CreateThread)(kThreads, NoneWith(ERROR_NOT_ENOUGH_MEMORY)),
        FAULT_HOOK(CreateEventA)(kThreads, NoneWith(ERROR_NO_SYSTEM_RESOURCES)),
        FAULT_HOOK(CreateEventW)(kThreads, NoneWith(ERROR_NO_SYSTEM_RESOURCES)),
        FAULT_HOOK(CreateMutexExW)(kThreads, NoneWith(ERROR_NO_SYSTEM_RESOURCES)),
        FAULT_HOOK(ReleaseMutex)(kThreads, NoneWith(ERROR_NOT_OWNER), {.failsAfterwards = true}),
        FAULT_HOOK(ConvertStringSecurityDescriptorToSecurityDescriptorW)(kThreads, NoneWith(ERROR_NOT_ENOUGH_MEMORY)),
        FAULT_HOOK(CreateSemaphoreA)(kThreads, NoneWith(ERROR_NO_SYSTEM_RESOURCES)),
        FAULT_HOOK(ReleaseSemaphore)(kThreads, NoneWith(ERROR_TOO_MANY_POSTS)),
        FAULT_HOOK(SetEvent)(kThreads, NoneWith(ERROR_INVALID_HANDLE), {.failsAfterwards = true}),
        FAULT_HOOK(ResetEvent)(kThreads, NoneWith(ERROR_INVALID_HANDLE), {.failsAfterwards = true}),
        FAULT_HOOK(WaitForSingleObject)(kThreads, AllOnesWith(ERROR_INVALID_HANDLE)),
        FAULT_HOOK(WaitForMultipleObjects)(kThreads, AllOnesWith(ERROR_INVALID_HANDLE)),
        FAULT_HOOK(DuplicateHandle)(kThreads, NoneWith(ERROR_NO_SYSTEM_RESOURCES)),
        FAULT_HOOK(CloseHandle)(kThreads, NoneWith(ERROR_INVALID_HANDLE), {.failsAfterwards = true}),
        FAULT_HOOK(GetHandleInformation)(kThreads, NoneWith(ERROR_INVALID_HANDLE)),
        FAULT_HOOK(OpenProcess)(kThreads, NoneWith(ERROR_ACCESS_DENIED)),
        FAULT_HOOK(OpenThread)(kThreads, NoneWith(ERROR_NO_SYSTEM_RESOURCES)),
        FAULT_HOOK(GetProcessIdOfThread)(kThreads, NoneWith(ERROR_INVALID_HANDLE)),
        FAULT_HOOK(GetProcessAffinityMask)(kThreads, NoneWith(ERROR_ACCESS_DENIED)),
        FAULT_HOOK(SetProcessAffinityMask)(kThreads, NoneWith(ERROR_ACCESS_DENIED)),
        FAULT_HOOK(GetThreadContext)(kThreads, NoneWith(ERROR_ACCESS_DENIED)),
        FAULT_HOOK(SetThreadContext)(kThreads, NoneWith(ERROR_ACCESS_DENIED)),
        FAULT_HOOK(GetThreadPriority)(kThreads,
                                      {THREAD_PRIORITY_ERROR_RETURN, Reason::LastError, ERROR_INVALID_HANDLE}),
        FAULT_HOOK(SetThreadPriority)(kThreads, NoneWith(ERROR_ACCESS_DENIED)),
        FAULT_HOOK(SuspendThread)(kThreads, AllOnesWith(ERROR_ACCESS_DENIED)),
        FAULT_HOOK(ResumeThread)(kThreads, AllOnesWith(ERROR_ACCESS_DENIED)),
        FAULT_HOOK(TerminateThread)(kThreads, NoneWith(ERROR_ACCESS_DENIED)),
        FAULT_HOOK(TlsAlloc)(kThreads, AllOnesWith(ERROR_NO_SYSTEM_RESOURCES)),
        FAULT_HOOK(TlsSetValue)(kThreads, NoneWith(ERROR_NOT_ENOUGH_MEMORY)),
        FAULT_HOOK(AddVectoredExceptionHandler)(kThreads, NoneWith(ERROR_NOT_ENOUGH_MEMORY)),
    };
}

std::vector<HookInfo*> FileHooks() {
    constexpr Failure kNone = NoneWith(ERROR_ACCESS_DENIED);
    return {
        FAULT_HOOK(CopyFileW)(kFileKinds, kNone),
        FAULT_HOOK(DeviceIoControl)(kFileKinds, kNone),
        FAULT_HOOK(FindFirstFileW)(kFileKinds, AllOnesWith(ERROR_ACCESS_DENIED), {.opens = "file searches"}),
        FAULT_HOOK(FindNextFileW)(kFileKinds, kNone),
        FAULT_HOOK(FindClose)(kFileKinds, kNone, {.failsAfterwards = true, .closes = "file searches"}),
    };
}

std::vector<HookInfo*> TextAndModuleHooks() {
    constexpr Failure kNoText = NoneWith(ERROR_NO_UNICODE_TRANSLATION);
    constexpr Failure kNoModule = NoneWith(ERROR_MOD_NOT_FOUND);
    return {
        FAULT_HOOK(MultiByteToWideChar)(kConversion, kNoText),
        FAULT_HOOK(WideCharToMultiByte)(kConversion, kNoText),
        FAULT_HOOK(FormatMessageA)(kConversion, NoneWith(ERROR_MR_MID_NOT_FOUND)),
        FAULT_HOOK(FindResourceW)(kResources, NoneWith(ERROR_RESOURCE_NAME_NOT_FOUND)),
        FAULT_HOOK(LoadResource)(kResources, NoneWith(ERROR_NOT_ENOUGH_MEMORY)),
        FAULT_HOOK(LockResource)(kResources, NoneWith(ERROR_NOT_ENOUGH_MEMORY)),
        FAULT_HOOK(SizeofResource)(kResources, NoneWith(ERROR_RESOURCE_NAME_NOT_FOUND)),
        FAULT_HOOK(GetModuleHandleExW)(kModules, kNoModule),
        FAULT_HOOK(GetModuleHandleW)(kModules, kNoModule),
        FAULT_HOOK(GetModuleFileNameW)(kModules, kNoModule),
        FAULT_HOOK(LoadLibraryW)(kModules, kNoModule),
        FAULT_HOOK(LoadLibraryExW)(kModules, kNoModule),
        FAULT_HOOK(GetProcAddress)(kModules, NoneWith(ERROR_PROC_NOT_FOUND)),
        FAULT_HOOK(VirtualProtect)(kModules, NoneWith(ERROR_ACCESS_DENIED)),
        FAULT_HOOK(VirtualQuery)(kModules, NoneWith(ERROR_INVALID_PARAMETER)),
        FAULT_HOOK(InitializeSecurityDescriptor)(kThreads, NoneWith(ERROR_INVALID_PARAMETER)),
        FAULT_HOOK(SetSecurityDescriptorDacl)(kThreads, NoneWith(ERROR_INVALID_PARAMETER)),
    };
}

} // namespace

std::vector<HookInfo*> KernelHooks() {
    std::vector<HookInfo*> hooks;
    for (const auto& group : {ThreadHooks(), FileHooks(), TextAndModuleHooks()}) {
        hooks.insert(hooks.end(), group.begin(), group.end());
    }
    return hooks;
}

} // namespace faults
