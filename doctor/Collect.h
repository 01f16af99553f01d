#pragma once

#include "doctor/Machine.h"

#include <string>
#include <string_view>
#include <vector>

namespace doctor {

struct CollectedFile {
    std::string name;
    std::string content; ///< UTF-8
};

/// Collects the files for support: the reports, the logs and the registry values that the checks have read. User name,
/// mail addresses and the contents of messages are blacked out.
std::vector<CollectedFile> Collect(const Machine& machine, std::string_view textReport, std::string_view jsonReport);

/// @throws std::runtime_error when the file cannot be written; no part of it is left then.
void WriteZip(const std::wstring& path, const std::vector<CollectedFile>& files);

} // namespace doctor
