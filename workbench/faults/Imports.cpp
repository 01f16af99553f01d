#include "workbench/faults/Imports.h"

#include "workbench/faults/Hooks.h"

#include <algorithm>
#include <cstring>
#include <set>
#include <string_view>

namespace faults {
namespace {

template <class Type>
Type* At(HMODULE module, ULONGLONG offset) {
    return reinterpret_cast<Type*>(reinterpret_cast<BYTE*>(module) + offset);
}

void Put(void** slot, void* function) {
    DWORD protection = 0;
    ::VirtualProtect(slot, sizeof(void*), PAGE_READWRITE, &protection);
    *slot = function;
    ::VirtualProtect(slot, sizeof(void*), protection, &protection);
}

HookInfo* FindHook(std::string_view name) {
    const auto& hooks = AllHooks();
    const auto found =
        std::find_if(hooks.begin(), hooks.end(), [&](const HookInfo* hook) { return hook->name == name; });
    return found != hooks.end() ? *found : nullptr;
}

bool IsExcluded(std::string_view name) {
    static const std::set<std::string_view> names = [] {
        std::set<std::string_view> all;
        for (const Exclusion& group : Exclusions()) {
            all.insert(group.functions.begin(), group.functions.end());
        }
        return all;
    }();
    return names.contains(name);
}

/// The runtime's older names of the same functions.
std::string_view UsualName(std::string_view name) {
    return name == "strdup" ? "_strdup" : name;
}

} // namespace

std::vector<std::string> HookImports(HMODULE module) {
    std::vector<std::string> unknown;
    const auto* headers = At<const IMAGE_NT_HEADERS>(module, At<const IMAGE_DOS_HEADER>(module, 0)->e_lfanew);
    const auto& table = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    const auto* library = At<const IMAGE_IMPORT_DESCRIPTOR>(module, table.VirtualAddress);
    for (; library->Name != 0; ++library) {
        const auto* import = At<const IMAGE_THUNK_DATA>(module, library->OriginalFirstThunk);
        auto* slot = At<void*>(module, library->FirstThunk);
        for (; import->u1.AddressOfData != 0; ++import, ++slot) {
            if (IMAGE_SNAP_BY_ORDINAL(import->u1.Ordinal)) {
                unknown.push_back(std::string(At<const char>(module, library->Name)) + " #" +
                                  std::to_string(IMAGE_ORDINAL(import->u1.Ordinal)));
                continue;
            }
            const char* name = At<const IMAGE_IMPORT_BY_NAME>(module, import->u1.AddressOfData)->Name;
            if (HookInfo* hook = FindHook(UsualName(name))) {
                hook->original = *slot;
                Put(slot, hook->replacement);
            } else if (!IsExcluded(name)) {
                unknown.push_back(name);
            }
        }
    }
    return unknown;
}

} // namespace faults
