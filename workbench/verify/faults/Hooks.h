#pragma once

#include <windows.h>

#include <cstdint>
#include <string>
#include <vector>

namespace verify {

/// Puts a hook in place of each import of the module that can fail or is watched.
/// @return the imported functions that are neither hooked nor excluded; there must be none.
std::vector<std::string> HookImports(HMODULE module);

/// Functions that are not made to fail: the reason, and their names with blanks between.
struct Exclusion {
    const char* reason;
    const char* functions;
};
const std::vector<Exclusion>& Exclusions();

/// How often the module's channel has gone round. For the module, time runs faster.
std::uint64_t ChannelRounds();
/// How often the client was launched. Nothing is really launched: it would be whatever this machine has for the scheme.
std::uint64_t Launches();
/// The next file position that is asked for is that of a log that has reached its limit.
void PretendLogIsFull();

} // namespace verify
