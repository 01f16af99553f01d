#pragma once

#include "workbench/verify/core/Options.h"
#include "workbench/verify/faults/Scene.h"

#include <string>
#include <vector>

namespace verify {

/// The whole mode, for any set of scenes: lists, plays or supervises. `module` is what is examined unless the options
/// name another. @return the exit code.
int RunFaults(const std::vector<Scene>& scenes, FaultOptions options, const std::wstring& module);

/// Plays one scene in this process: the points that the options name. A scene that wants fresh processes is played
/// once, with the point `from` of the kind, or cleanly when there is no such kind. Tells the events on standard output,
/// a line each:
///   found ROUND COUNT     calls that a clean run makes
///   at ROUND NUMBER       the next point begins
///   failed FUNCTION       its call came and failed
///   missed                the call was found, and came in none of the attempts; the last `at` stands
///   degraded              the module does without its channel by now
///   problem TEXT          something is wrong with this point; so do "crash: TEXT" and "hang: TEXT"
///   held COUNT THING      (fresh processes) what the module still holds at the end
///   end                   all is played
int PlayScene(const Scene& scene, const FaultOptions& options);

inline constexpr int kAttempts = 5; // to reach a call that was found

} // namespace verify
