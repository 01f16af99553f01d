#pragma once

#include <string>

namespace bench {

/// The calls into the platform that loading and connecting the add-in cannot do without, and nothing else: its
/// libraries, the shell's folder, a first line in a log file, the type library, GDI+, two threads, two windows. Leaves
/// everything open: the process ends next.
/// @param module the add-in's file, for its type library. @param logPath a file that is written.
void MakePlatformCalls(const std::wstring& module, const std::string& logPath);

} // namespace bench
