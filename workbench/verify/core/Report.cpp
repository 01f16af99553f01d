#include "workbench/verify/core/Report.h"

#include <windows.h>

#include <cstdio>
#include <cstring>

namespace verify {
namespace {

constexpr std::chrono::seconds kProgressEvery{5};

} // namespace

void SayLine(const std::string& line) {
    std::printf("%s\n", line.c_str());
    std::fflush(stdout);
}

void SayRaw(const char* text) noexcept {
    DWORD written = 0;
    ::WriteFile(::GetStdHandle(STD_OUTPUT_HANDLE), text, static_cast<DWORD>(std::strlen(text)), &written, nullptr);
}

std::string MarkdownTable(const std::vector<std::vector<std::string>>& rows) {
    std::string text;
    for (const std::vector<std::string>& row : rows) {
        text += fmt::format("| {} |\n", fmt::join(row, " | "));
        if (&row == &rows.front()) {
            text += "| ---";
            for (std::size_t i = 1; i < row.size(); ++i) {
                text += " | ---:";
            }
            text += " |\n";
        }
    }
    return text;
}

void Report::Violation(const std::string& what) {
    violations_.push_back(what);
    Say("VIOLATION: {}", what);
}

std::int64_t Report::Seconds() const {
    return std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - start_).count();
}

bool Report::ProgressIsDue() {
    const bool due = Clock::now() >= nextProgress_;
    nextProgress_ = due ? Clock::now() + kProgressEvery : nextProgress_;
    return due;
}

int Report::Tell() const {
    Say("\n{}", MarkdownTable(rows_));
    for (const std::string& violation : violations_) {
        Say("VIOLATION: {}", violation);
    }
    Say("{} violations in {} s", violations_.size(), Seconds());
    return violations_.empty() ? kNoViolation : kViolations;
}

} // namespace verify
