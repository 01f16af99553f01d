#pragma once

#include <windows.h>

#include <string>

namespace verify {

/// A copy of a module whose header names no entry point: the loader maps and binds it without running it, so that the
/// hooks are in place before its first instruction. The entry point is called here then.
/// @return the copy's path. @throws std::runtime_error
std::wstring StageModule(const std::wstring& original, const std::wstring& folder);

/// A staged module in this process, hooked, and attached on demand. It stays loaded.
class StagedModule {
public:
    /// @throws std::runtime_error when it cannot be loaded, or imports what no hook or exclusion knows.
    explicit StagedModule(const std::wstring& path);

    HMODULE Handle() const { return module_; }
    const std::wstring& Path() const { return path_; }
    /// The entry point with DLL_PROCESS_ATTACH. @return its answer; TRUE when it is attached already.
    bool Attach();
    /// The same with DLL_PROCESS_DETACH, as FreeLibrary would.
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
    DWORD entry_ = 0; // offset
    bool attached_ = false;
};

} // namespace verify
