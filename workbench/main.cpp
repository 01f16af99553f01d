#include "workbench/check_client/Play.h"
#include "workbench/demo/Play.h"
#include "workbench/interactive/Play.h"
#include "workbench/process/CommandLine.h"

#include <windows.h>
#include <comdef.h>
#include <objbase.h>

#include <cstdio>
#include <exception>

namespace {

enum ExitCode : int { kDone = 0, kFailed = 1, kBadCommandLine = 2 };

} // namespace

int main() {
    CLI::App app("Runs the built add-in without Outlook and without the real meeting client.", "workbench");
    app.require_subcommand(1);
    demo::Options demoOptions;
    interactive::Options interactiveOptions;
    check_client::Options checkOptions;
    CLI::App* demoCommand = app.add_subcommand("demo");
    CLI::App* interactiveCommand = app.add_subcommand("interactive");
    demo::Describe(*demoCommand, demoOptions);
    interactive::Describe(*interactiveCommand, interactiveOptions);
    check_client::Describe(*app.add_subcommand("check-client"), checkOptions);
    try {
        app.parse(process::ParserArguments());
        ::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
        const int code = demoCommand->parsed()          ? demo::Play(demoOptions)
                         : interactiveCommand->parsed() ? interactive::Play(interactiveOptions)
                                                        : check_client::Play(checkOptions);
        ::CoUninitialize();
        return code;
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? kDone : kBadCommandLine;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "workbench: %s\n", error.what());
    } catch (const _com_error& error) {
        std::fprintf(stderr, "workbench: status 0x%08lx\n", static_cast<unsigned long>(error.Error()));
    }
    return kFailed;
}
