#include "Outlook/AddIns/Registrar.h"

#include "Outlook/AddIns/LogValues.h"
#include "Outlook/AddIns/ModuleState.h"
#include "Outlook/AddIns/RegistryTable.h"
#include "support/LogLine.h"
#include "support/UniqueResource.h"

#include <cwchar>
#include <new>
#include <string>

namespace {

constexpr const wchar_t* kSource = L"AddIns/Registrar";
constexpr const wchar_t* kTrees[] = {registry::kClassKey, registry::kProgId, registry::kVersionedProgId};

LSTATUS OpenKey(const wchar_t* path, UniqueKey& key) {
    HKEY opened = nullptr;
    // Outlook's list is opened, not created: without it the registration fails and is taken back.
    const LSTATUS result =
        path == registry::kAddInsKey
            ? ::RegOpenKeyExW(HKEY_LOCAL_MACHINE, path, 0, KEY_WRITE, &opened)
            : ::RegCreateKeyExW(HKEY_CLASSES_ROOT, path, 0, nullptr, 0, KEY_WRITE, nullptr, &opened, nullptr);
    key.Reset(opened);
    return result;
}

LSTATUS SetValue(HKEY key, const registry::Value& value, const std::wstring& module) {
    if (value.number != 0) {
        const DWORD number = value.number;
        return ::RegSetKeyValueW(key, value.subKey, value.name, REG_DWORD, &number, sizeof(number));
    }
    const wchar_t* text = value.text != nullptr ? value.text : module.c_str();
    // Deliberate: the texts for Outlook have no terminator. They have always been written so, and readers accept it.
    const size_t terminator = value.key == registry::kAddInsKey ? 0 : 1;
    const auto bytes = static_cast<DWORD>((std::wcslen(text) + terminator) * sizeof(wchar_t));
    return ::RegSetKeyValueW(key, value.subKey, value.name, REG_SZ, text, bytes);
}

/// Converts the result of a deletion to a status. A missing key counts as deleted.
HRESULT ToDeletionStatus(LSTATUS result) {
    return result == ERROR_FILE_NOT_FOUND ? S_OK : HRESULT_FROM_WIN32(result);
}

} // namespace

HRESULT Registrar::Register() {
    LogLine(kSource, L"Registrar::Register").Debug() << L"Register";
    HRESULT status = E_OUTOFMEMORY;
    try {
        status = WriteAll();
    } catch (const std::bad_alloc&) {
        // Handled as any other failure: the written entries are removed, which needs no memory.
    }
    if (FAILED(status)) {
        LogLine(kSource, L"Registrar::Register").Error() << L"Register fail: 0x" << Hex(status);
        Unregister();
    }
    return status;
}

HRESULT Registrar::WriteAll() {
    std::wstring module;
    const HRESULT status = ModuleState::GetPath(module);
    if (FAILED(status)) {
        return status;
    }
    UniqueKey key;
    const wchar_t* path = nullptr;
    for (const registry::Value& value : registry::kValues) {
        LSTATUS result = ERROR_SUCCESS;
        if (value.key != path) {
            path = value.key;
            result = OpenKey(path, key);
        }
        if (result == ERROR_SUCCESS) {
            result = SetValue(key.Get(), value, module);
        }
        if (result != ERROR_SUCCESS) {
            return HRESULT_FROM_WIN32(result);
        }
    }
    return S_OK;
}

HRESULT Registrar::Unregister() {
    LogLine(kSource, L"Registrar::Unregister").Debug() << L"Unregister";
    for (const wchar_t* tree : kTrees) {
        const HRESULT status = ToDeletionStatus(::RegDeleteTreeW(HKEY_CLASSES_ROOT, tree));
        if (status != S_OK) {
            return status;
        }
    }
    return ToDeletionStatus(::RegDeleteKeyW(HKEY_LOCAL_MACHINE, registry::kAddInKey));
}
