#pragma once

#include <fmt/format.h>

#include <chrono>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace verify {

enum ExitCode : int { kNoViolation = 0, kViolations = 1, kBadCommandLine = 2, kNoAnswer = 3 };

/// A line of output, on its way at once.
void SayLine(const std::string& line);
template <class... Values>
void Say(fmt::format_string<Values...> format, Values&&... values) {
    SayLine(fmt::format(format, std::forward<Values>(values)...));
}

/// Past the C library, whose locks another thread may hold for good.
void SayRaw(const char* text) noexcept;

/// A table in Markdown; every column but the first stands on the right.
std::string MarkdownTable(const std::vector<std::vector<std::string>>& rows);

/// The results of a run and the violations that it found.
class Report {
public:
    /// Tells the violation at once.
    void Violation(const std::string& what);
    template <class Value>
    void Row(const std::string& what, const Value& value) {
        rows_.push_back({what, fmt::format("{}", value)});
    }

    std::size_t Violations() const { return violations_.size(); }
    std::int64_t Seconds() const;
    /// Whether it is time for a line of progress.
    bool ProgressIsDue();
    /// The rows as a table, then the violations again. @return the exit code.
    int Tell() const;

private:
    using Clock = std::chrono::steady_clock;
    const Clock::time_point start_ = Clock::now();
    Clock::time_point nextProgress_ = start_;
    std::vector<std::vector<std::string>> rows_{{"what", "result"}};
    std::vector<std::string> violations_;
};

} // namespace verify
