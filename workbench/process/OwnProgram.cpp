#include "workbench/process/OwnProgram.h"

namespace process {

std::wstring ProgramPath() {
    wchar_t path[MAX_PATH] = L"";
    ::GetModuleFileNameW(nullptr, path, MAX_PATH);
    return path;
}

bool IsCrash(DWORD code) {
    constexpr DWORD kHeapCorruption = 0xC0000374;
    constexpr DWORD kFastFail = 0xC0000409; // a stack guard found its mark overwritten, for one
    switch (code) {
    case EXCEPTION_ACCESS_VIOLATION:
    case EXCEPTION_STACK_OVERFLOW:
    case EXCEPTION_ILLEGAL_INSTRUCTION:
    case EXCEPTION_PRIV_INSTRUCTION:
    case EXCEPTION_INT_DIVIDE_BY_ZERO:
    case kHeapCorruption:
    case kFastFail:
        return true;
    default:
        return false;
    }
}

} // namespace process
