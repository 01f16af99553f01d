#pragma once

#include <windows.h>

#include <filesystem>
#include <string>

namespace verify {

/// A copy of a module whose header names no entry point: the loader maps and binds it without running it, so that the
/// hooks are in place before its first instruction. The entry point is called here then.
/// @return the copy's path. @throws std::runtime_error
std::filesystem::path StageModule(const std::filesystem::path& original, const std::filesystem::path& folder);

/// A staged module in this process, hooked, and attached on demand. It stays loaded.
class StagedModule {
public:
    /// @throws std::runtime_error when it cannot be loaded, or imports what no hook or exclusion knows.
    explicit StagedModule(std::wstring path) : path_(std::move(path)) { Load(); }

    const std::wstring& Path() const { return path_; }
    /// The entry point with DLL_PROCESS_ATTACH. @return its answer. A second call does nothing and succeeds: a loader
    /// throws a module that refuses out, and does not run it again.
    bool Attach();
    /// The same with DLL_PROCESS_DETACH, as FreeLibrary would, if it is attached.
    void Detach();
    bool Attached() const { return attached_; }
    /// Detached, thrown out and loaded afresh, not attached. Only while no thread of its own runs.
    void Reload();

    template <class Function>
    Function* Export(const char* name) const {
        return reinterpret_cast<Function*>(reinterpret_cast<void*>(::GetProcAddress(module_, name)));
    }

private:
    void Load();
    bool CallEntry(DWORD reason);

    std::wstring path_;
    HMODULE module_ = nullptr;
    bool tried_ = false;
    bool attached_ = false;
};

} // namespace verify
