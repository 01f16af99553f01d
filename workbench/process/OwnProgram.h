#pragma once

#include <windows.h>

#include <string>

namespace process {

/// The program file of this process, to start it once more.
std::wstring ProgramPath();

} // namespace process
