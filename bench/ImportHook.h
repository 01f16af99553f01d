#pragma once

#include <windows.h>

#include <cstring>

namespace bench {

/// Puts `replacement` in place of the function of that name which `module` imports, whatever DLL it comes from.
/// @return false when the module imports no such function.
inline bool ReplaceImport(HMODULE module, const char* name, void* replacement) {
    auto* const base = reinterpret_cast<BYTE*>(module);
    const auto* const dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    const auto* const headers = reinterpret_cast<const IMAGE_NT_HEADERS64*>(base + dos->e_lfanew);
    const DWORD directory = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
    for (auto* library = reinterpret_cast<IMAGE_IMPORT_DESCRIPTOR*>(base + directory); library->Name != 0; ++library) {
        const auto* lookup = reinterpret_cast<const IMAGE_THUNK_DATA64*>(base + library->OriginalFirstThunk);
        auto* thunk = reinterpret_cast<IMAGE_THUNK_DATA64*>(base + library->FirstThunk);
        for (; lookup->u1.AddressOfData != 0; ++lookup, ++thunk) {
            if (IMAGE_SNAP_BY_ORDINAL64(lookup->u1.Ordinal)) {
                continue;
            }
            const auto* entry = reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(base + lookup->u1.AddressOfData);
            if (std::strcmp(entry->Name, name) != 0) {
                continue;
            }
            DWORD before = 0;
            ::VirtualProtect(thunk, sizeof(*thunk), PAGE_READWRITE, &before);
            thunk->u1.Function = reinterpret_cast<ULONGLONG>(replacement);
            ::VirtualProtect(thunk, sizeof(*thunk), before, &before);
            return true;
        }
    }
    return false;
}

} // namespace bench
