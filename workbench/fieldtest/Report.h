#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace fieldtest {

enum class Verdict { Pass, Fail, NotObserved };

struct Outcome {
    Verdict verdict = Verdict::Pass;
    std::string text; ///< what was seen
};

const char* NameOf(Verdict verdict);

/// The findings of the test. Texts are UTF-8.
class Report {
public:
    void Version(const std::string& name, const std::string& value) { versions_.emplace_back(name, value); }
    void Step(const std::string& id, Outcome outcome) { steps_.emplace_back(id, std::move(outcome)); }
    /// A later answer to the same point is added to the earlier ones.
    /// @param point of docs/host-facts.md, numbered from 1. @param how where the answer could be seen.
    void Answer(std::size_t point, const std::string& answer, const std::string& how);
    bool Failed() const;

    std::string Text() const;
    /// The table of the open points for docs/host-facts.md.
    std::string Table() const;

private:
    std::vector<std::pair<std::string, std::string>> versions_;
    std::vector<std::pair<std::string, Outcome>> steps_;
    std::map<std::size_t, std::pair<std::string, std::string>> answers_;
};

} // namespace fieldtest
