#pragma once

#include <windows.h>

#include <string>

namespace process {

/// The program file of this process, to start it once more.
std::wstring ProgramPath();

/// Whether an exception's code tells of a fault that no program survives, unlike a C++ exception.
bool IsCrash(DWORD code);

} // namespace process
