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
    std::vector<std::pair<std::string, std::string>> versions; ///< name and value
    std::vector<std::pair<std::string, Outcome>> steps;        ///< each with its name

    /// A later answer to the same point is added to the earlier ones.
    /// @param point of docs/host-facts.md, numbered from 1.
    void Answer(std::size_t point, const std::string& answer);
    bool Failed() const;

    std::string Text() const;
    /// The table of the open points for docs/host-facts.md.
    std::string Table() const;

private:
    std::map<std::size_t, std::string> answers_;
};

} // namespace fieldtest
