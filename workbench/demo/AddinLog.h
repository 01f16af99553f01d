#pragma once

#include "workbench/demo/Story.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace demo {

/// Reads the add-in's own log file, from where it ended when this object was made.
class AddinLog {
public:
    AddinLog();

    const std::wstring& Path() const { return path_; }
    /// The lines written since the start. A text of several lines counts as several.
    std::vector<std::wstring> Lines() const;
    /// Waits for a line with that text among those not printed yet, and prints it. The lines before it are skipped.
    void Tell(Story& story, const std::wstring& text);
    /// The warnings and errors, each once, with how often it was written.
    std::map<std::wstring, std::size_t> Complaints() const;

private:
    std::wstring path_;
    std::uint64_t start_ = 0; // bytes
    std::size_t told_ = 0;    // lines
};

} // namespace demo
