#pragma once

#include <array>
#include <string>
#include <vector>

namespace bench {

/// The steps of `MakePlatformCalls`.
inline constexpr std::array<const char*, 6> kPlatformStages = {
    "GDI+ loaded",  "roaming folder from the shell", "log opened, first line", "type library",
    "GDI+ started", "two threads, two windows"};

/// Makes the calls into the platform that an add-in of this kind cannot avoid until it is connected: the roaming
/// folder's path from the shell, a line in a log file, the type library of `module`, GDI+, two threads, a
/// window on the caller's thread and one on its own. The host's objects are left out. @return microseconds of each
/// stage.
std::vector<double> MakePlatformCalls(const std::wstring& module, const std::string& logPath);

} // namespace bench
