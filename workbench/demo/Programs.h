#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

namespace demo {

inline constexpr DWORD kProgramLimit = 20'000; // ms

/// Runs a program and waits for its end. @return its exit code; nothing when it could not be started or did not end in
/// time.
std::optional<DWORD> RunToEnd(const std::wstring& program, const std::vector<std::wstring>& arguments);

} // namespace demo
