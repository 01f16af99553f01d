#pragma once

#include "workbench/process/ChildProcess.h"

#include "support/UniqueResource.h"

#include <windows.h>

#include <string>
#include <vector>

namespace endings {

/// Another process of this program, told what to do by "--child ...". @throws std::runtime_error
process::ChildProcess StartChild(const std::vector<std::wstring>& orders);

/// An event that both sides open by name. A name is used once.
UniqueHandle SharedEvent(const std::wstring& name);
std::wstring NewName();

/// Reports a crash of the calling process and ends it with the exception's code, also where the system would pass the
/// crash over: in a window procedure, or while the process ends.
void ReportCrashes();
/// Whether a process with this exit code ended by a fault.
bool IsFault(DWORD exitCode);
std::string Hex(DWORD value);

} // namespace endings
