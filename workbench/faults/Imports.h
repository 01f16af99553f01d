#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace faults {

/// Puts every hook in place of the module's import.
/// @return the imported functions that are neither hooked nor excluded; there must be none.
std::vector<std::string> HookImports(HMODULE module);

} // namespace faults
