#include "workbench/faults/Addresses.h"

#include <windows.h>

#include <cstdint>
#include <cstdio>
#include <cstring>

namespace faults {

std::string DescribeStack(const std::vector<void*>& stack) {
    std::string text;
    for (const void* frame : stack) {
        HMODULE module = nullptr;
        char path[MAX_PATH] = "?";
        if (::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                                 static_cast<const wchar_t*>(frame), &module)) {
            ::GetModuleFileNameA(module, path, MAX_PATH);
        }
        if (module == ::GetModuleHandleW(nullptr)) {
            continue;
        }
        const char* name = std::strrchr(path, '\\');
        char line[MAX_PATH + 32];
        std::snprintf(line, sizeof line, " %s+0x%llx", name != nullptr ? name + 1 : path,
                      static_cast<unsigned long long>(reinterpret_cast<std::uintptr_t>(frame) -
                                                      reinterpret_cast<std::uintptr_t>(module)));
        text += line;
    }
    return text;
}

std::vector<void*> StackOfThread(void* thread) {
    // Nothing is allocated while the thread stands still: it may stand inside the heap, with the heap's lock.
    constexpr std::size_t kMostFrames = 48;
    void* frames[kMostFrames];
    std::size_t count = 0;
    alignas(16) CONTEXT context{};
    context.ContextFlags = CONTEXT_FULL;
    if (::SuspendThread(thread) == static_cast<DWORD>(-1) || !::GetThreadContext(thread, &context)) {
        return {};
    }
    while (context.Rip != 0 && count < kMostFrames) {
        frames[count++] = reinterpret_cast<void*>(context.Rip);
        DWORD64 base = 0;
        PRUNTIME_FUNCTION function = ::RtlLookupFunctionEntry(context.Rip, &base, nullptr);
        if (function == nullptr) { // a leaf: the return address is on top
            context.Rip = *reinterpret_cast<const DWORD64*>(context.Rsp);
            context.Rsp += sizeof(DWORD64);
            continue;
        }
        void* handler = nullptr;
        DWORD64 frame = 0;
        ::RtlVirtualUnwind(UNW_FLAG_NHANDLER, base, context.Rip, function, &context, &handler, &frame, nullptr);
    }
    ::ResumeThread(thread);
    return {frames, frames + count};
}

} // namespace faults
