#include "workbench/fieldtest/Report.h"

#include <fmt/format.h>

#include <algorithm>

namespace fieldtest {
namespace {

constexpr const char* kQuestions[] = {
    "Does the ribbon take premultiplied colours from a picture with alpha?",
    "Which window classes lead from an appointment's window to its body editor?",
    "Is a window or an item the same COM object at every hand-out?",
    "Can CurrentItem and Saved be read while an item's window closes?",
    "Does Folders.Item accept a VT_INT index?",
    "Does E_NOTIMPL from a sink have an effect?",
    "Does FormDescription.Comment of an appointment last, and does it make the item a one-off?",
    "Does Click-to-Run show the add-in's machine key, and where does a type library land that Outlook registers?",
    "Is \"no object\" a VT_DISPATCH with null or a VT_EMPTY?",
    "Does FindConnectionPoint offer the first generation of the events?",
    "Does onLoad come once for each ribbon?",
    "In which order come GetCustomUI and OnConnection?",
    "Which start-up time does Outlook tolerate?",
    "Does the list of managed add-ins count outside the Policies key?",
};

} // namespace

const char* NameOf(Verdict verdict) {
    return verdict == Verdict::Pass ? "pass" : verdict == Verdict::Fail ? "FAIL" : "not observed";
}

void Report::Answer(std::size_t point, const std::string& answer, const std::string& how) {
    auto& [text, source] = answers_[point];
    text += (text.empty() ? "" : "; ") + answer;
    if (source.find(how) == std::string::npos) {
        source += (source.empty() ? "" : "; ") + how;
    }
}

bool Report::Failed() const {
    return std::any_of(steps_.begin(), steps_.end(),
                       [](const auto& step) { return step.second.verdict == Verdict::Fail; });
}

std::string Report::Text() const {
    std::string text = "Field test of the Outlook add-in\n\n";
    for (const auto& [name, value] : versions_) {
        text += fmt::format("{:<20} {}\n", name, value);
    }
    text += "\n";
    for (const auto& [id, outcome] : steps_) {
        text += fmt::format("{:<14} {:<13} {}\n", id, NameOf(outcome.verdict), outcome.text);
    }
    return text + "\n" + Table();
}

std::string Report::Table() const {
    std::string table = "| # | question | state | answer | seen in |\n|---|---|---|---|---|\n";
    for (std::size_t point = 1; point <= std::size(kQuestions); ++point) {
        const auto found = answers_.find(point);
        const bool observed = found != answers_.end();
        const auto& [answer, how] = observed ? found->second : std::pair<std::string, std::string>("not observed", "");
        table += fmt::format("| {} | {} | {} | {} | {} |\n", point, kQuestions[point - 1],
                             observed ? "observed" : "open", answer, how);
    }
    return table;
}

} // namespace fieldtest
