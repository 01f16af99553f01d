#pragma once

#include <string>
#include <vector>

namespace endings {

/// A process of the part "exits": orders are those of the plan and the events "connected" and "go". Plays Outlook with
/// the add-in until the moment of the plan. @return the exit code, where the plan lets it return.
int PlayExit(const std::vector<std::string>& orders);

} // namespace endings
