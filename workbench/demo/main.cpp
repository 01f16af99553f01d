#include "workbench/demo/Options.h"
#include "workbench/demo/Scenarios.h"
#include "workbench/demo/Stage.h"

#include "support/Text.h"

#include <windows.h>
#include <objbase.h>
#include <shellapi.h>

#include <cstdio>
#include <exception>

namespace {

enum ExitCode : int { kEverythingHappened = 0, kStepFailed = 1, kBadCommandLine = 2 };

/// In the parser's order: the last one first.
std::vector<std::string> Arguments() {
    int count = 0;
    wchar_t** texts = ::CommandLineToArgvW(::GetCommandLineW(), &count);
    std::vector<std::string> arguments;
    for (int i = count - 1; texts && i > 0; --i) {
        arguments.push_back(ToUtf8(texts[i]));
    }
    ::LocalFree(texts);
    return arguments;
}

int Play(const demo::Options& options) {
    demo::Stage stage(options);
    try {
        demo::InstallAddIn(stage);
        demo::StartOutlook(stage);
        for (const demo::Scenario& scenario : demo::AllScenarios()) {
            if (options.scenario.empty() || options.scenario == scenario.name) {
                scenario.play(stage);
            }
        }
        demo::EndOutlook(stage);
        demo::RemoveAddIn(stage);
        demo::TellCount(stage);
    } catch (const std::exception& error) {
        stage.story.Failure(ToWide(error.what()));
        return kStepFailed;
    } catch (const _com_error& error) {
        stage.story.Failure(L"status " + std::to_wstring(error.Error()));
        return kStepFailed;
    }
    stage.story.Scenario(L"Everything happened as it should.");
    return kEverythingHappened;
}

} // namespace

int main() {
    demo::Options options;
    CLI::App app("", "workbench_demo");
    demo::Describe(app, options);
    try {
        app.parse(Arguments());
        ::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
        const int code = Play(options);
        ::CoUninitialize();
        return code;
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? kEverythingHappened : kBadCommandLine;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "workbench_demo: %s\n", error.what());
        return kStepFailed;
    }
}
