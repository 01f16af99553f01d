#pragma once

#include "doctor/Machine.h"

#include <string>
#include <vector>

namespace doctor {

struct CollectedFile {
    std::string name;
    std::string content; ///< UTF-8
};

/// Adds the logs and the registry values that were read to the reports, for support. User name, mail addresses and the
/// contents of messages are blacked out.
std::vector<CollectedFile> Collect(const Machine& machine, std::vector<CollectedFile> files);

/// @throws std::runtime_error when the file cannot be written; no part of it is left then.
void WriteZip(const std::wstring& path, const std::vector<CollectedFile>& files);

} // namespace doctor
