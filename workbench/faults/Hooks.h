#pragma once

#include "workbench/faults/Injector.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace faults {

/// Every function that the module may import and that can fail, and the few that are watched.
const std::vector<HookInfo*>& AllHooks();
std::vector<HookInfo*> PlatformHooks(); // user interface, COM, registry, shell
std::vector<HookInfo*> KernelHooks();
std::vector<HookInfo*> RuntimeHooks(); // the C runtime
std::vector<HookInfo*> SpecialHooks(); // those with a body of their own

/// Functions that are not made to fail, group by group with the reason.
struct Exclusion {
    const char* reason;
    std::vector<const char*> functions;
};
const std::vector<Exclusion>& Exclusions();

// Functions of the special hooks for the scenes.

/// How often the module's channel has gone round; it runs faster than outside, see SpecialHooks.cpp.
std::uint64_t ChannelRounds();
/// How often the client was launched.
std::uint64_t Launches();
/// The next file position that is asked for is that of a log that has reached its limit.
void PretendLogIsFull();
/// Called with the function's name when the module ends the process by itself.
void OnAbort(void (*handler)(const char*));

} // namespace faults
