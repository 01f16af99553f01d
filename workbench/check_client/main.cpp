#include "workbench/check_client/StandIn.h"

#include "workbench/process/ChildProcess.h"

#include "support/Text.h"

#include <windows.h>
#include <objbase.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>

namespace {

enum ExitCode : int { kNoFailure = 0, kFailure = 1, kNothingChecked = 3 };

void RunCommand(const std::string& command) {
    const std::vector<std::wstring> arguments = {L"/c", ToWide(command)};
    process::ChildProcess(L"C:\\windows\\system32\\cmd.exe", arguments, process::Streams::Own).Wait();
}

int Check(const check_client::Settings& settings, const std::string& json) {
    const auto findings = check_client::CheckClient(settings);
    std::fputs(check_client::ToText(findings).c_str(), stdout);
    if (!json.empty()) {
        std::ofstream file{std::filesystem::path(ToWide(json)), std::ios::binary};
        if (!(file << check_client::ToJson(findings)).flush()) {
            throw std::runtime_error("cannot write " + json);
        }
    }
    const auto failed = [](const auto& finding) { return finding.verdict == check_client::Verdict::Fail; };
    return std::ranges::any_of(findings, failed) ? kFailure : kNoFailure;
}

} // namespace

int main(int argc, char** argv) {
    CLI::App app("Checks a meeting client against docs/protocol.md.\n"
                 "Exit code 1: a rule is broken; 3: nothing was checked.");
    std::string logIn;
    std::string change;
    std::string json;
    unsigned limit = 60;
    unsigned quiet = 15;
    app.add_option("--log-in", logIn, "COMMAND that logs in, instead of a person");
    app.add_option("--change", change, "COMMAND that changes the subject of the last meeting in the client");
    app.add_option("--limit", limit, "SECONDS to wait for the client or a person")
        ->capture_default_str()
        ->check(CLI::Range(1, 3600));
    app.add_option("--quiet", quiet, "SECONDS to watch a client before the log-in")
        ->capture_default_str()
        ->check(CLI::Range(1, 3600));
    app.add_option("--json", json, "FILE for the report as JSON");
    bool standIn = false;
    app.add_flag("--stand-in", standIn, "check the stand-in client; its arguments follow");
    app.prefix_command();
    app.footer("The client follows: PROGRAM [ARGUMENT...]. Without it the tester starts the client.");
    CLI11_PARSE(app, argc, argv);

    ::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    int code = kNothingChecked;
    try {
        std::vector<std::wstring> client;
        std::ranges::transform(app.remaining(), std::back_inserter(client), ToWide);
        check_client::Settings settings;
        std::unique_ptr<check_client::StandIn> own;
        if (standIn) {
            own = std::make_unique<check_client::StandIn>(client, std::chrono::seconds(limit));
            settings = own->ForCheck();
        } else if (!client.empty()) {
            settings.program = client.front();
            settings.arguments.assign(client.begin() + 1, client.end());
        }
        if (!logIn.empty()) {
            settings.logIn = [&] { RunCommand(logIn); };
        }
        if (!change.empty()) {
            settings.change = [&](const std::string&) { RunCommand(change); };
        }
        settings.limit = std::chrono::seconds(limit);
        settings.quiet = std::chrono::seconds(quiet);
        settings.tell = [](const std::string& line) {
            std::puts(line.c_str());
            std::fflush(stdout);
        };
        code = Check(settings, json);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "check_client: %s\n", error.what());
    }
    ::CoUninitialize();
    return code;
}
