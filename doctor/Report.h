#pragma once

#include "doctor/Finding.h"

#include <string>
#include <vector>

namespace doctor {

enum ExitCode : int { kNothingFound = 0, kFaultFound = 1, kOnlyWarnings = 2, kCouldNotLook = 3 };

/// Access that was denied leaves the question open unless something else was found.
ExitCode CodeOf(const std::vector<Finding>& findings);

const wchar_t* VerdictText(Verdict verdict);

/// The report for a person: overall verdict, the one thing to do, then all checks.
std::wstring TextReport(const std::vector<Finding>& findings, bool loaded, Language language);

/// The report for a program, in UTF-8.
std::string JsonReport(const std::vector<Finding>& findings);

} // namespace doctor
