#include "workbench/client/Client.h"
#include "workbench/client/Control.h"
#include "workbench/client/Faults.h"
#include "workbench/client/Options.h"
#include "workbench/client/Transcript.h"
#include "workbench/client/UriScheme.h"
#include "workbench/process/CommandLine.h"

#include "support/Text.h"

#include <windows.h>

#include <cstdio>
#include <exception>
#include <string>
#include <vector>

namespace {

using namespace meeting_client;

int EditRegistration(const Options& options, std::vector<std::wstring> arguments) {
    std::erase(arguments, L"--register-uri");
    const long error = options.registerUri ? RegisterUriScheme(arguments) : UnregisterUriScheme();
    if (error != 0) {
        std::fprintf(stderr, "meeting_client: the registry refused the change: error %ld\n", error);
        return kCannotStart;
    }
    return kEnded;
}

// The last resort: a client whose thread hangs longer than its time still ends.
void CALLBACK EndOverdue(void*, BOOLEAN) {
    ::TerminateProcess(::GetCurrentProcess(), kTimeRanOut);
}

int RunClient(const Options& options) {
    // A URI that comes while the client runs only has to bring it to the front, which is nothing without a screen.
    const bool running = ::FindWindowExW(HWND_MESSAGE, nullptr, kControlWindow, kControlWindow) != nullptr;
    if ((running || Makes("ignores-uri")) && !options.launchUri.empty()) {
        return kEnded;
    }
    if (!options.hidden && wire::Find(wire::kClientWindow)) {
        std::fprintf(stderr, "meeting_client: another client has the channel window\n");
        return kAlreadyRunning;
    }
    HANDLE timer = nullptr;
    const auto overdue = static_cast<DWORD>(options.longest * 1000 + 3000);
    ::CreateTimerQueueTimer(&timer, nullptr, &EndOverdue, nullptr, overdue, 0, WT_EXECUTEONLYONCE);
    Transcript transcript(options.transcript);
    Client client(options, transcript);
    return client.Run();
}

} // namespace

int main() {
    Options options;
    CLI::App app("", "meeting_client");
    try {
        Describe(app, options);
        app.parse(process::ParserArguments());
        return options.registerUri || options.unregisterUri ? EditRegistration(options, process::OwnArguments())
                                                            : RunClient(options);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? kEnded : kBadCommandLine;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "meeting_client: %s\n", error.what());
        return kCannotStart;
    }
}
