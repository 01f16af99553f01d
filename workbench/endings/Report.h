#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace endings {

/// The results of a run and the violations that it found.
class Report {
public:
    /// Tells the violation at once.
    void Violation(const std::string& what);
    void Row(const std::string& what, const std::string& value);
    void Row(const std::string& what, std::uint64_t value) { Row(what, std::to_string(value)); }

    bool Clean() const { return violations_.empty(); }
    /// The rows as a table, then the violations again.
    void Tell() const;

private:
    std::vector<std::pair<std::string, std::string>> rows_;
    std::vector<std::string> violations_;
};

/// A line of progress, on its way at once.
void Say(const std::string& text);

} // namespace endings
