#include "workbench/demo/Options.h"

#include "support/Text.h"
#include "workbench/demo/Scenarios.h"

#include <vector>

namespace demo {
namespace {

std::vector<std::string> ScenarioNames() {
    std::vector<std::string> names = {"start"};
    for (const Scenario& one : AllScenarios()) {
        names.push_back(one.name);
    }
    return names;
}

} // namespace

void Describe(CLI::App& app, Options& options) {
    app.description("Loads the real add-in into the stand-in Outlook and plays its story against the stand-in client.");
    app.footer("Exit codes: 0 every step happened, 1 a step did not happen within its deadline or not as it should,\n"
               "2 wrong command line.");
    app.add_option_function<std::string>(
           "--language", [&options](const std::string& text) { options.chinese = text == "zh"; },
           "language of the stand-in Outlook (default en)")
        ->check(CLI::IsMember({"en", "zh"}));
    app.add_option("--scenario", options.scenario, "only that one; \"start\" for none of them")
        ->check(CLI::IsMember(ScenarioNames()));
    app.add_option_function<std::string>(
        "--pictures", [&options](const std::string& text) { options.pictures = ToWide(text); },
        "ask for pictures: a line \"@picture NAME WIDTHxHEIGHT+LEFT+TOP\" on the standard output, and whoever reads it "
        "answers by writing NAME.png into this folder");
    app.add_option("--pace", options.pace, "pause in ms before each step (default 0)")->check(CLI::Range(0, 5000));
    app.add_flag("--verbose", options.verbose, "also tell every call, event, window and ribbon callback");
    app.add_flag("--colour", options.colour, "colour the output");
    app.add_flag("--by-path", options.byPath,
                 "load the file of the add-in itself; else it is registered on this machine while the story lasts, "
                 "which needs an elevated prompt");
    app.add_option_function<std::string>(
        "--dll", [&options](const std::string& text) { options.dll = ToWide(text); },
        "the add-in (default: the one built with this program)");
    app.add_option_function<std::string>(
        "--installed",
        [&options](const std::string& text) {
            options.installed = true;
            options.dll = ToWide(text);
        },
        "the add-in that an installer has installed as this file; it stays as it is");
}

} // namespace demo
