#pragma once

#include "workbench/demo/Options.h"

namespace demo {

/// Plays the story. @return the exit code. COM must be initialised.
int Play(const Options& options);

} // namespace demo
