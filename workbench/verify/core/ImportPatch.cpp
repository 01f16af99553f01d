#include "workbench/verify/core/ImportPatch.h"

#include <cstddef>
#include <cstring>

namespace verify {
namespace {

template <class Record>
Record* At(HMODULE module, std::size_t offset) {
    return reinterpret_cast<Record*>(reinterpret_cast<std::byte*>(module) + offset);
}

} // namespace

std::vector<Import> ImportsOf(HMODULE module) {
    std::vector<Import> imports;
    const auto* dos = At<const IMAGE_DOS_HEADER>(module, 0);
    const auto* headers = At<const IMAGE_NT_HEADERS>(module, static_cast<std::size_t>(dos->e_lfanew));
    const IMAGE_DATA_DIRECTORY& table = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    const auto* library = table.Size != 0 ? At<const IMAGE_IMPORT_DESCRIPTOR>(module, table.VirtualAddress) : nullptr;
    for (; library != nullptr && library->Name != 0; ++library) {
        const auto* import = At<const IMAGE_THUNK_DATA>(module, library->OriginalFirstThunk);
        auto* slot = At<void*>(module, library->FirstThunk);
        for (; import->u1.AddressOfData != 0; ++import, ++slot) {
            const bool named = !IMAGE_SNAP_BY_ORDINAL(import->u1.Ordinal);
            imports.push_back({At<const char>(module, library->Name),
                               named ? At<const IMAGE_IMPORT_BY_NAME>(module, import->u1.AddressOfData)->Name : nullptr,
                               slot});
        }
    }
    return imports;
}

void* Exchange(void** slot, void* replacement) {
    DWORD protection = 0;
    ::VirtualProtect(slot, sizeof *slot, PAGE_READWRITE, &protection);
    void* const original = *slot;
    *slot = replacement;
    ::VirtualProtect(slot, sizeof *slot, protection, &protection);
    return original;
}

void* PatchImport(HMODULE module, const char* function, void* replacement) {
    for (const Import& import : ImportsOf(module)) {
        if (import.name != nullptr && std::strcmp(import.name, function) == 0) {
            return Exchange(import.slot, replacement);
        }
    }
    return nullptr;
}

} // namespace verify
