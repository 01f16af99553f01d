#include "workbench/demo/Play.h"

#include "workbench/demo/Scenarios.h"
#include "workbench/demo/Stage.h"

#include "support/Text.h"

#include <algorithm>
#include <exception>
#include <iterator>

namespace demo {

void Describe(CLI::App& app, Options& options) {
    std::vector<std::string> scenarios = {"start"};
    std::ranges::transform(AllScenarios(), std::back_inserter(scenarios), &Scenario::name);
    app.description("Loads the real add-in into the stand-in Outlook and plays its story against the stand-in client.");
    app.footer("Exit codes: 0 every step happened, 1 a step did not happen within its deadline or not as it should,\n"
               "2 wrong command line.");
    app.add_option_function<std::string>(
           "--language", [&options](const std::string& text) { options.chinese = text == "zh"; },
           "language of the stand-in Outlook (default en)")
        ->check(CLI::IsMember({"en", "zh"}));
    app.add_option("--scenario", options.scenario, "only that one; \"start\" for none of them")
        ->check(CLI::IsMember(scenarios));
    app.add_option(
        "--pictures", options.pictures,
        "ask for pictures: a line \"@picture NAME WIDTHxHEIGHT+LEFT+TOP\" on the standard output, and whoever reads it "
        "answers by writing NAME.png into this folder");
    app.add_option("--pace", options.pace, "pause in ms before each step (default 0)")->check(CLI::Range(0, 5000));
    app.add_flag("--verbose", options.verbose, "also tell every call, event, window and ribbon callback");
    app.add_flag("--colour", options.colour, "colour the output");
    app.add_flag("--by-path", options.byPath,
                 "load the file of the add-in itself; else it is registered on this machine while the story lasts, "
                 "which needs an elevated prompt");
    app.add_option("--dll", options.dll, "the add-in (default: the one built with this program)");
    app.add_option("--installed", options.dll,
                   "the add-in that an installer has installed as this file; it stays as it is")
        ->each([&options](const std::string&) { options.installed = true; });
}

int Play(const Options& options) {
    Stage stage(options);
    try {
        InstallAddIn(stage);
        StartOutlook(stage);
        for (const Scenario& scenario : AllScenarios()) {
            if (options.scenario.empty() || options.scenario == scenario.name) {
                scenario.play(stage);
            }
        }
        EndOutlook(stage);
        RemoveAddIn(stage);
        TellCount(stage);
    } catch (const std::exception& error) {
        stage.story.Failure(ToWide(error.what()));
        return 1;
    } catch (const _com_error& error) {
        stage.story.Failure(L"status " + std::to_wstring(error.Error()));
        return 1;
    }
    stage.story.Scenario(L"Everything happened as it should.");
    return 0;
}

} // namespace demo
