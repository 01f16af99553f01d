#include "workbench/check_client/Play.h"

#include "workbench/check_client/StandIn.h"

#include "workbench/process/ChildProcess.h"

#include "support/Text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <optional>

namespace check_client {
namespace {

enum ExitCode : int { kNoFailure = 0, kFailure = 1, kNothingChecked = 3 };

void RunCommand(const std::string& command) {
    const std::vector<std::wstring> arguments = {L"/c", ToWide(command)};
    process::ChildProcess(L"C:\\windows\\system32\\cmd.exe", arguments, process::Streams::Own).Wait();
}

void Print(const std::string& line) {
    std::puts(line.c_str());
    std::fflush(stdout);
}

int Check(const Options& options) {
    std::vector<std::wstring> client;
    std::ranges::transform(options.client, std::back_inserter(client), ToWide);
    Settings settings;
    std::optional<StandIn> own;
    if (options.standIn) {
        settings = own.emplace(client, std::chrono::seconds(options.limit)).settings;
    } else if (!client.empty()) {
        settings.program = client.front();
        settings.arguments.assign(client.begin() + 1, client.end());
    }
    if (!options.logIn.empty()) {
        settings.logIn = [&] { RunCommand(options.logIn); };
    }
    if (!options.change.empty()) {
        settings.change = [&](const std::string&) { RunCommand(options.change); };
    }
    settings.limit = std::chrono::seconds(options.limit);
    settings.quiet = std::chrono::seconds(options.quiet);
    settings.tell = &Print;
    const std::vector<Finding> findings = CheckClient(settings);
    const std::size_t failed = CountOf(findings, Verdict::Fail);
    Print(fmt::format("{} rules: {} passed, {} failed, {} not tested", findings.size(),
                      CountOf(findings, Verdict::Pass), failed, CountOf(findings, Verdict::NotTested)));
    if (!options.json.empty()) {
        std::ofstream file{std::filesystem::path(ToWide(options.json)), std::ios::binary};
        if (!(file << ToJson(findings)).flush()) {
            throw std::runtime_error("cannot write " + options.json);
        }
    }
    return failed != 0 ? kFailure : kNoFailure;
}

} // namespace

void Describe(CLI::App& app, Options& options) {
    app.description("Checks a meeting client against docs/protocol.md.");
    app.footer("The client follows: PROGRAM [ARGUMENT...]. Without it the tester starts the client.\n"
               "Exit codes: 0 no rule is broken, 1 a rule is broken, 2 wrong command line, 3 nothing was checked.");
    app.add_option("--log-in", options.logIn, "COMMAND that logs in, instead of a person");
    app.add_option("--change", options.change, "COMMAND that changes the subject of the last meeting in the client");
    app.add_option("--limit", options.limit, "SECONDS to wait for the client or a person")
        ->capture_default_str()
        ->check(CLI::Range(1, 3600));
    app.add_option("--quiet", options.quiet, "SECONDS to watch a client before the log-in")
        ->capture_default_str()
        ->check(CLI::Range(1, 3600));
    app.add_option("--json", options.json, "FILE for the report as JSON");
    app.add_flag("--stand-in", options.standIn, "check the stand-in client; its arguments follow");
    app.prefix_command();
    app.callback([&] { options.client = app.remaining(); });
}

int Play(const Options& options) {
    try {
        return Check(options);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "workbench: %s\n", error.what());
        return kNothingChecked;
    }
}

} // namespace check_client
