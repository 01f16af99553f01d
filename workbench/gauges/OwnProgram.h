#pragma once

#include "support/UniqueResource.h"

#include <windows.h>

#include <string>

namespace gauges {

/// The program file of this process, to start it once more.
std::wstring ProgramPath();

/// A job that kills the processes in it when its last handle is closed, thus at the latest with this process.
UniqueHandle MakeKillingJob();

/// Whether an exception's code tells of a fault that no program survives, unlike a C++ exception.
bool IsCrash(DWORD code);

} // namespace gauges
