#include "workbench/demo/Play.h"

#include "workbench/demo/Scenarios.h"
#include "workbench/demo/Stage.h"

#include "support/Text.h"

#include <exception>

namespace demo {

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
