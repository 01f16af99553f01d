#pragma once

#include <windows.h>

#include <filesystem>
#include <string>

/// Full path of the module under test: beside the running program or in a folder above it.
inline std::wstring AddInModulePath() {
    wchar_t program[MAX_PATH] = {};
    ::GetModuleFileNameW(nullptr, program, MAX_PATH);
    std::filesystem::path folder = std::filesystem::path(program).parent_path();
    for (; folder.has_relative_path(); folder = folder.parent_path()) {
        if (std::filesystem::exists(folder / L"OutlookAddIn.dll")) {
            return (folder / L"OutlookAddIn.dll").wstring();
        }
    }
    return L"OutlookAddIn.dll";
}
