#pragma once

#include "support/UniqueResource.h"
#include "workbench/gauges/ImportPatch.h"

#include <windows.h>

#include <map>
#include <string>

/// Opens a key that is made, with the keys above it, when it is not there.
UniqueKey MakeKey(HKEY root, const std::wstring& path);
bool HasKey(HKEY root, const std::wstring& path);
/// Makes a key and puts a text into it; a null name means the key's default value.
void PutText(HKEY root, const std::wstring& path, const wchar_t* name, const std::wstring& text);

/// A whole tree in readable form: `path\` for each key, `path\@name` for each value with its type, its length in bytes
/// and its data, as in `sz(6) ab\0` and `dword(4) 3`.
using RegistryImage = std::map<std::string, std::string>;
RegistryImage ReadImage(HKEY root);

/// The file that the add-in's type library is registered with, empty when it is not registered. Deliberately not asked
/// through LoadRegTypeLib: the entry names the module without the library's resource number, and where the platform
/// expects number 1 in such a file, as Wine does, loading by the entry fails although the library is registered.
std::wstring RegisteredLibrary();

/// Redirects one of the predefined keys of this process as long as it lives.
class RootOverride {
public:
    RootOverride(HKEY root, HKEY target) : root_(root), status_(::RegOverridePredefKey(root, target)) {}
    ~RootOverride() { ::RegOverridePredefKey(root_, nullptr); }
    RootOverride(const RootOverride&) = delete;
    RootOverride& operator=(const RootOverride&) = delete;
    LSTATUS Status() const { return status_; }

private:
    HKEY root_;
    LSTATUS status_;
};

/// Denies everybody every access to an existing key as long as it lives. Wine looks only at the key that is opened:
/// keys below a locked one can still be made and opened by their whole path.
class KeyLock {
public:
    KeyLock(HKEY root, const std::wstring& path);
    ~KeyLock();
    KeyLock(const KeyLock&) = delete;
    KeyLock& operator=(const KeyLock&) = delete;

private:
    void Set(const wchar_t* accessList);

    UniqueKey key_; // opened before it was locked, so that it can be unlocked
};

/// Replaces a function that a module imports by name as long as it lives.
class ImportPatch {
public:
    ImportPatch(HMODULE module, const char* function, void* replacement)
        : module_(module), function_(function), original_(gauges::PatchImport(module, function, replacement)) {}
    ~ImportPatch() { gauges::PatchImport(module_, function_, original_); }
    ImportPatch(const ImportPatch&) = delete;
    ImportPatch& operator=(const ImportPatch&) = delete;
    /// False when the module imports no such function.
    explicit operator bool() const { return original_ != nullptr; }

private:
    HMODULE module_;
    const char* function_;
    void* original_;
};
