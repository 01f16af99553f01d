#pragma once

#include "workbench/faults/Options.h"
#include "workbench/faults/Scene.h"

#include <vector>

namespace faults {

/// How a child process ends, besides 0.
enum ChildCode : int { kChildFailed = 1, kChildHangs = 3, kChildCrashed = 4, kChildAborted = 5 };

inline constexpr int kAttempts = 5; // to reach a call that was found

/// The rounds of a run in their order.
std::vector<Order> AllRounds();

/// Plays one scene in this process: all its rounds from the one that the options name on, or, for a scene that wants
/// fresh processes, the one point that they name. Tells what happens on standard output, a line each:
///   found ROUND COUNT     calls that a clean run makes
///   at ROUND NUMBER       the next point begins
///   failed FUNCTION       its call came and failed
///   missed                the call was found, and came in none of the attempts; the last `at` stands
///   problem TEXT          something is wrong with this point
///   held COUNT THING      (fresh processes) what the module still holds at the end
int PlayScene(const Scene& scene, const Options& options);

} // namespace faults
