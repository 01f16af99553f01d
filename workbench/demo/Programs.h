#pragma once

#include "workbench/process/ChildProcess.h"

namespace demo {

inline constexpr DWORD kProgramLimit = 20'000; // ms

/// Runs a program and waits for its end. @return its exit code; nothing when it did not end in time.
/// @throws std::runtime_error when it cannot be started.
inline std::optional<DWORD> RunToEnd(const std::wstring& program, const std::vector<std::wstring>& arguments) {
    return process::ChildProcess(program, arguments, process::Streams::Own).WaitForEnd(kProgramLimit);
}

} // namespace demo
