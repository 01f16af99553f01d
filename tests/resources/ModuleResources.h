#pragma once

#include <windows.h>

#include <string>
#include <string_view>

/// The resources' one language, whatever language their texts have.
inline constexpr WORD kResourceLanguage = MAKELANGID(LANG_CHINESE, SUBLANG_CHINESE_SIMPLIFIED);

/// Bytes of a resource of the test program, which is linked with the add-in's resources; empty when it has none.
inline std::string_view ResourceBytes(const wchar_t* type, WORD id) {
    const HRSRC found = ::FindResourceExW(nullptr, type, MAKEINTRESOURCEW(id), kResourceLanguage);
    const HGLOBAL loaded = found ? ::LoadResource(nullptr, found) : nullptr;
    if (!loaded) {
        return {};
    }
    return {static_cast<const char*>(::LockResource(loaded)), ::SizeofResource(nullptr, found)};
}

inline std::wstring ProgramPath() {
    wchar_t path[MAX_PATH] = {};
    const DWORD length = ::GetModuleFileNameW(nullptr, path, MAX_PATH);
    return {path, length};
}
