#pragma once

#include "workbench/faults/Kinds.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace faults {

/// The results of the points, by scene and by kind.
class Account {
public:
    struct Row {
        std::uint64_t found = 0;
        std::uint64_t failed = 0;
        std::uint64_t missed = 0;
        std::uint64_t crashes = 0;
        std::uint64_t hangs = 0;
        std::uint64_t leaks = 0;
        std::uint64_t others = 0;
    };

    void Found(const std::string& scene, const std::string& round, std::uint64_t count);
    void Failed(const std::string& scene, const std::string& round);
    /// A call that was found, and did not come again in any of several runs.
    void Missed(const std::string& scene, const std::string& round);
    /// Files a problem under what it says, and keeps the line that reproduces it.
    void Problem(const std::string& scene, const std::string& round, std::uint64_t number, const std::string& function,
                 const std::string& text);

    std::uint64_t FailedPoints() const;
    /// Rounds with calls of which none has failed.
    std::vector<std::string> IdleRounds() const;
    std::size_t Violations() const { return violations_; }
    /// The tables in Markdown, then the violations.
    std::string Tell() const;

private:
    template <class Change>
    void Change_(const std::string& scene, const std::string& round, Change change);

    std::vector<std::string> scenes_; // in their order
    std::vector<std::string> rounds_;
    std::map<std::string, Row> byScene_;
    std::map<std::string, Row> byRound_;
    std::vector<std::string> lines_;
    std::size_t violations_ = 0;
};

} // namespace faults
