#include "workbench/fieldtest/Report.h"

#include <fmt/format.h>

#include <algorithm>

namespace fieldtest {
namespace {

/// A question and where its answer can be seen.
constexpr std::pair<const char*, const char*> kPoints[] = {
    {"Does the ribbon take premultiplied colours from a picture with alpha?", "the person"},
    {"Which window classes lead from an appointment's window to its body editor?", "the windows of the appointment"},
    {"Is a window or an item the same COM object at every hand-out?", "the object model"},
    {"Can CurrentItem and Saved be read while an item's window closes?", "the add-in's log"},
    {"Does Folders.Item accept a VT_INT index?", "the object model; the add-in's log for its own search"},
    {"Does E_NOTIMPL from a sink have an effect?", "the add-in's log"},
    {"Does FormDescription.Comment of an appointment last, and does it make the item a one-off?",
     "the items, read again by their ids"},
    {"Does Click-to-Run show the add-in's machine key, and where does a type library land that Outlook registers?",
     "the registry, read from outside Office"},
    {"Is \"no object\" a VT_DISPATCH with null or a VT_EMPTY?", "ActiveInspector without an open item"},
    {"Does FindConnectionPoint offer the first generation of the events?",
     "the call for the main window; the add-in's log for the item window"},
    {"Does onLoad come once for each ribbon?", "the add-in's log"},
    {"In which order come GetCustomUI and OnConnection?",
     "the log's time of GetCustomUI and the age of the add-in's thread"},
    {"Which start-up time does Outlook tolerate?", "events 45 and 59"},
    {"Does the list of managed add-ins count outside the Policies key?",
     "a value of the user outside Policies, and Connect after a restart"},
};

} // namespace

const char* NameOf(Verdict verdict) {
    return verdict == Verdict::Pass ? "pass" : verdict == Verdict::Fail ? "FAIL" : "not observed";
}

void Report::Answer(std::size_t point, const std::string& answer) {
    std::string& text = answers_[point];
    text += (text.empty() ? "" : "; ") + answer;
}

bool Report::Failed() const {
    return std::any_of(steps.begin(), steps.end(),
                       [](const auto& step) { return step.second.verdict == Verdict::Fail; });
}

std::string Report::Text() const {
    std::string text = "Field test of the Outlook add-in\n\n";
    for (const auto& [name, value] : versions) {
        text += fmt::format("{:<20} {}\n", name, value);
    }
    text += "\n";
    for (const auto& [id, outcome] : steps) {
        text += fmt::format("{:<14} {:<13} {}\n", id, NameOf(outcome.verdict), outcome.text);
    }
    return text + "\n" + Table();
}

std::string Report::Table() const {
    std::string table = "| # | question | state | answer | seen in |\n|---|---|---|---|---|\n";
    for (std::size_t point = 1; const auto& [question, seenIn] : kPoints) {
        const auto answer = answers_.find(point);
        table += answer == answers_.end()
                     ? fmt::format("| {} | {} | open | not observed | |\n", point, question)
                     : fmt::format("| {} | {} | observed | {} | {} |\n", point, question, answer->second, seenIn);
        ++point;
    }
    return table;
}

} // namespace fieldtest
