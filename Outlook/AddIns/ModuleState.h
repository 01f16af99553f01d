#pragma once

#include <windows.h>

#include <atomic>

/// What the whole module shares. The handle is set once, at process attach.
namespace ModuleState {

inline HMODULE module = nullptr;             // resources, strings, the module's path
inline std::atomic<uint32_t> liveObjects{0}; // add-in objects alive
inline std::atomic<uint32_t> serverLocks{0}; // locks of the class factory

inline bool CanUnload() noexcept {
    return liveObjects == 0 && serverLocks == 0;
}

} // namespace ModuleState
