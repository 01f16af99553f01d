#include "workbench/gauges/ImportPatch.h"

#include <cstddef>
#include <cstring>

namespace gauges {
namespace {

template <class Record>
Record* At(HMODULE module, std::size_t offset) {
    return reinterpret_cast<Record*>(reinterpret_cast<std::byte*>(module) + offset);
}

void* Exchange(IMAGE_THUNK_DATA& slot, void* replacement) {
    DWORD protection = 0;
    ::VirtualProtect(&slot, sizeof slot, PAGE_READWRITE, &protection);
    auto* const original = reinterpret_cast<void*>(slot.u1.Function);
    slot.u1.Function = reinterpret_cast<ULONGLONG>(replacement);
    ::VirtualProtect(&slot, sizeof slot, protection, &protection);
    return original;
}

} // namespace

void* PatchImport(HMODULE module, const char* function, void* replacement) {
    const auto* dos = At<const IMAGE_DOS_HEADER>(module, 0);
    const auto* headers = At<const IMAGE_NT_HEADERS>(module, static_cast<std::size_t>(dos->e_lfanew));
    const IMAGE_DATA_DIRECTORY& imports = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    if (imports.Size == 0) {
        return nullptr;
    }
    for (const auto* from = At<const IMAGE_IMPORT_DESCRIPTOR>(module, imports.VirtualAddress); from->Name != 0;
         ++from) {
        const auto* names = At<const IMAGE_THUNK_DATA>(module, from->OriginalFirstThunk);
        auto* slots = At<IMAGE_THUNK_DATA>(module, from->FirstThunk);
        for (; names->u1.AddressOfData != 0; ++names, ++slots) {
            if (IMAGE_SNAP_BY_ORDINAL(names->u1.Ordinal)) {
                continue;
            }
            const auto* import = At<const IMAGE_IMPORT_BY_NAME>(module, names->u1.AddressOfData);
            if (std::strcmp(reinterpret_cast<const char*>(import->Name), function) == 0) {
                return Exchange(*slots, replacement);
            }
        }
    }
    return nullptr;
}

} // namespace gauges
