#pragma once

#include "workbench/demo/Story.h"
#include "workbench/verify/core/LogTail.h"

#include <map>
#include <string>
#include <vector>

namespace demo {

/// Reads the add-in's own log file, from where it ended when this object was made. Its lines are without the date and
/// the ids of process and thread, which fill half a line.
class AddinLog {
public:
    /// The lines written since the start. A text of several lines counts as several.
    const std::vector<std::wstring>& Lines();
    /// Waits for a line with that text among those not printed yet, and prints it. The lines before it are skipped.
    void Tell(Story& story, const std::wstring& text);
    /// The warnings and errors, each once, with how often it was written.
    std::map<std::wstring, std::size_t> Complaints();

private:
    verify::LineTail tail_{verify::AddinLogFile(), true};
    std::vector<std::wstring> lines_;
    std::size_t told_ = 0; // lines
};

} // namespace demo
