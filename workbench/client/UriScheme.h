#pragma once

#include <string>
#include <vector>

namespace meeting_client {

/// Lets the launch URI start this program, with these arguments before the URI, for the current user. It takes
/// the place of an installed client until `UnregisterUriScheme`. (Under Wine, whose launcher does not look at a user's
/// classes, for the whole prefix.)
/// @return the system's error code, 0 for success.
long RegisterUriScheme(const std::vector<std::wstring>& arguments);
long UnregisterUriScheme();

} // namespace meeting_client
