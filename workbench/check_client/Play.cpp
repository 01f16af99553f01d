#include "workbench/check_client/Play.h"

#include "workbench/client/ClientProcess.h"
#include "workbench/client/Control.h"
#include "workbench/host/Pump.h"
#include "workbench/process/ChildProcess.h"
#include "workbench/wire/Window.h"

#include "support/Text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <stdexcept>

namespace check_client {
namespace {

enum ExitCode : int { kNoFailure = 0, kFailure = 1, kNothingChecked = 3 };

/// Has the client carry an order out, when it takes orders within the limit.
bool Order(const std::string& order, std::chrono::milliseconds limit = {}) {
    HWND control = nullptr;
    const auto found = [&] { return (control = wire::Find(meeting_client::kControlWindow)) != nullptr; };
    return workbench::PumpUntil(found, static_cast<unsigned>(limit.count())) &&
           wire::SendBytes(control, nullptr, 0, order.c_str(), order.size() + 1) == ERROR_SUCCESS;
}

DWORD Run(const std::wstring& program, const std::vector<std::wstring>& arguments) {
    return process::ChildProcess(program, arguments, process::Streams::Own).Wait();
}

void RunCommand(const std::string& command) {
    Run(L"C:\\windows\\system32\\cmd.exe", {L"/c", ToWide(command)});
}

void Print(const std::string& line) {
    std::puts(line.c_str());
    std::fflush(stdout);
}

int Check(const Options& options) {
    std::vector<std::wstring> client;
    std::ranges::transform(options.client, std::back_inserter(client), ToWide);
    Settings settings = options.standIn ? ForStandIn(client, options.settings.limit) : options.settings;
    if (!options.standIn && !client.empty()) {
        settings.program = client.front();
        settings.arguments.assign(client.begin() + 1, client.end());
    }
    settings.tell = &Print;
    const std::vector<Finding> findings = CheckClient(settings);
    std::map<Verdict, std::size_t> counts;
    for (const Finding& finding : findings) {
        ++counts[finding.verdict];
    }
    Print(fmt::format("{} rules: {} passed, {} failed, {} not tested", findings.size(), counts[Verdict::Pass],
                      counts[Verdict::Fail], counts[Verdict::NotTested]));
    if (!options.json.empty()) {
        std::ofstream file{std::filesystem::path(ToWide(options.json)), std::ios::binary};
        if (!(file << ToJson(findings)).flush()) {
            throw std::runtime_error("cannot write " + options.json);
        }
    }
    return counts[Verdict::Fail] != 0 ? kFailure : kNoFailure;
}

void AddSeconds(CLI::App& app, const char* name, const char* help, std::chrono::milliseconds& time) {
    app.add_option_function<unsigned>(
           name, [&time](unsigned seconds) { time = std::chrono::seconds(seconds); }, help)
        ->check(CLI::Range(1, 3600));
}

} // namespace

Settings ForStandIn(std::vector<std::wstring> arguments, std::chrono::milliseconds limit) {
    arguments.insert(arguments.end(),
                     {L"--hidden", L"--max-seconds", L"600", L"--parent", std::to_wstring(::GetCurrentProcessId())});
    Settings settings;
    settings.program = meeting_client::ClientProcess::FindProgram();
    settings.arguments = arguments;
    settings.logIn = [limit] { Order("show", limit); };
    settings.awaitLogInForm = [limit] { return Order("settle", limit); }; // it takes orders once it runs
    settings.settle = [] { Order("settle"); };
    settings.change = [](const std::string& confId) { Order("change " + confId + " {\"subject\":\"Changed\"}"); };
    settings.limit = limit;
    arguments.emplace_back(L"--register-uri");
    if (Run(settings.program, arguments) != 0) {
        throw std::runtime_error("the stand-in client refuses its options");
    }
    settings.registration = std::shared_ptr<void>(nullptr, [program = settings.program](void*) {
        try {
            Run(program, {L"--unregister-uri"});
        } catch (const std::exception&) {
            // The entry stays until the next registration.
        }
    });
    return settings;
}

void Describe(CLI::App& app, Options& options) {
    app.description("Checks a meeting client against docs/protocol.md.");
    app.footer("The client follows: PROGRAM [ARGUMENT...]. Without it the tester starts the client.\n"
               "Exit codes: 0 no rule is broken, 1 a rule is broken, 2 wrong command line, 3 nothing was checked.");
    app.add_option_function<std::string>(
        "--log-in",
        [&options](const std::string& command) { options.settings.logIn = [command] { RunCommand(command); }; },
        "COMMAND that logs in, instead of a person");
    app.add_option_function<std::string>(
        "--change",
        [&options](const std::string& command) {
            options.settings.change = [command](const std::string&) { RunCommand(command); };
        },
        "COMMAND that changes the subject of the last meeting in the client");
    AddSeconds(app, "--limit", "SECONDS to wait for the client or a person (default 60)", options.settings.limit);
    AddSeconds(app, "--quiet", "SECONDS to watch a client before the log-in (default 15)", options.settings.quiet);
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
