#include "workbench/process/OwnProgram.h"

namespace process {

std::wstring ProgramPath() {
    wchar_t path[MAX_PATH] = L"";
    ::GetModuleFileNameW(nullptr, path, MAX_PATH);
    return path;
}

} // namespace process
