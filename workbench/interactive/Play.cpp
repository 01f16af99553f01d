#include "workbench/interactive/Play.h"

#include <cstdio>

namespace interactive {

void Describe(CLI::App& app, Options& options) {
    app.description("Opens the stand-in Outlook and the stand-in client for you to use, with the add-in loaded.");
    app.add_option_function<std::string>(
           "--language", [&options](const std::string& text) { options.chinese = text == "zh"; },
           "language of the stand-in Outlook (default en)")
        ->check(CLI::IsMember({"en", "zh"}));
    app.add_flag("--verbose", options.verbose, "also print every call, event, window and ribbon callback");
}

int Play(const Options& options) {
    if (!HasDisplay()) {
        std::fputs("workbench: there is no display, so nobody could see the windows. Start the program in a desktop "
                   "session: at the machine itself or over a remote desktop, not over ssh and not as a service.\n",
                   stderr);
        return 1;
    }
    Session session(options);
    std::puts("The stand-in Outlook is open. Close its last window to end the program. The add-in's log follows.");
    std::fflush(stdout);
    session.Run();
    return 0;
}

} // namespace interactive
