#pragma once

#include <windows.h>

#include <atomic>
#include <string>

/// State that the whole module shares. The handle is set once, at process attach.
namespace ModuleState {

inline HMODULE module = nullptr;             // resources, strings, the module's path
inline std::atomic<uint32_t> liveObjects{0}; // add-in objects alive
inline std::atomic<uint32_t> serverLocks{0}; // locks of the class factory

/// Counts the object that contains it. It must be the first member: it is then destroyed last, when no code of the
/// object will run any more.
struct LiveObject {
    LiveObject() noexcept { ++liveObjects; }
    ~LiveObject() { --liveObjects; }
    LiveObject(const LiveObject&) = delete;
    LiveObject& operator=(const LiveObject&) = delete;
};

inline bool CanUnload() noexcept {
    return liveObjects == 0 && serverLocks == 0;
}

/// Reads the module's own path, of any length. `path` is empty on failure.
HRESULT GetPath(std::wstring& path);

} // namespace ModuleState
