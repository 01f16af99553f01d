#include "workbench/process/OwnProgram.h"

#include <filesystem>
#include <stdexcept>

namespace process {

std::wstring ProgramPath() {
    wchar_t path[MAX_PATH] = L"";
    ::GetModuleFileNameW(nullptr, path, MAX_PATH);
    return path;
}

std::wstring FindBuilt(const std::wstring& relative) {
    const std::filesystem::path wanted(relative);
    std::filesystem::path folder = std::filesystem::path(ProgramPath()).parent_path();
    const std::filesystem::path flavour = folder.filename(); // multi-configuration builds add such a folder
    for (bool more = true; more; more = folder != folder.parent_path(), folder = folder.parent_path()) {
        for (const auto& candidate : {folder / wanted.filename(), folder / wanted,
                                      folder / wanted.parent_path() / flavour / wanted.filename()}) {
            std::error_code ignored;
            if (std::filesystem::is_regular_file(candidate, ignored)) {
                return candidate.wstring();
            }
        }
    }
    throw std::runtime_error(wanted.string() + " is not there; build it first");
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
