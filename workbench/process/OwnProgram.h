#pragma once

#include <windows.h>

#include <string>

namespace process {

/// The program file of this process, to start it once more.
std::wstring ProgramPath();

/// A file that was built with this program, given from the build folder. Searched for there and beside this program.
/// @throws std::runtime_error when it is not there.
std::wstring FindBuilt(const std::wstring& relative);

} // namespace process
