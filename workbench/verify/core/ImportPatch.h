#pragma once

#include <windows.h>

#include <vector>

namespace verify {

/// One function that a loaded module calls by its import table.
struct Import {
    const char* library;
    const char* name; ///< null: imported by number
    void** slot;
};

std::vector<Import> ImportsOf(HMODULE module);

/// Lets the module call something else there. @return what it called so far.
void* Exchange(void** slot, void* replacement);

/// The same for the import of that name. @return null when the module imports none of that name.
void* PatchImport(HMODULE module, const char* function, void* replacement);

} // namespace verify
