#pragma once

#include <windows.h>

namespace gauges {

/// Lets a loaded module call something else wherever it calls that imported function by its import table.
/// @return the function that it called so far, null when it imports none of that name.
void* PatchImport(HMODULE module, const char* function, void* replacement);

} // namespace gauges
