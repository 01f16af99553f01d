#pragma once

#include <cstddef>
#include <ios>
#include <string>
#include <vector>

/// Reads the lines that this process writes to the add-in's log after the reader's construction.
class AddinLogReader {
public:
    AddinLogReader();

    /// The lines without time and ids: "[Err][AddIn:12 AddIn::OnAction]text" becomes "Err AddIn::OnAction text". Of a
    /// text of several lines only the first is given.
    std::vector<std::string> Lines() const { return ReadOn(); }
    /// Those that were not there at the last call.
    std::vector<std::string> NewLines();
    /// How many lines begin so.
    size_t CountOf(const std::string& beginning) const;

private:
    const std::vector<std::string>& ReadOn() const;

    mutable std::streamoff readUpTo_ = 0; // always at the start of a line
    mutable std::vector<std::string> lines_;
    size_t taken_ = 0;
};
