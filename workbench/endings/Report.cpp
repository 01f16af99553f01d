#include "workbench/endings/Report.h"

#include <algorithm>
#include <cstdio>

namespace endings {

void Report::Violation(const std::string& what) {
    violations_.push_back(what);
    Say("VIOLATION: " + what);
}

void Report::Row(const std::string& what, const std::string& value) {
    rows_.emplace_back(what, value);
}

void Report::Tell() const {
    std::size_t width = 0;
    for (const auto& [what, value] : rows_) {
        width = std::max(width, what.size());
    }
    for (const auto& [what, value] : rows_) {
        std::printf("| %-*s | %s |\n", static_cast<int>(width), what.c_str(), value.c_str());
    }
    for (const std::string& violation : violations_) {
        std::printf("VIOLATION: %s\n", violation.c_str());
    }
    std::printf("%s\n", violations_.empty() ? "no violation" : "there were violations");
    std::fflush(stdout);
}

void Say(const std::string& text) {
    std::printf("%s\n", text.c_str());
    std::fflush(stdout);
}

} // namespace endings
