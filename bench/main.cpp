#include "bench/Parts.h"
#include "bench/Receiver.h"
#include "bench/Table.h"
#include "support/Text.h"
#include "workbench/process/ChildProcess.h"
#include "workbench/process/OwnProgram.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <iterator>
#include <string>
#include <vector>

namespace {

struct Part {
    const char* name;
    const char* help;
    void (*measure)(const bench::Effort&);
};

constexpr Part kParts[] = {
    {"load", "loading the add-in, a fresh process each time", &bench::MeasureLoad},
    {"callbacks", "ribbon callbacks through IDispatch", &bench::MeasureCallbacks},
    {"calls", "calls on the host's objects", &bench::MeasureCalls},
    {"press", "a press until the command arrives in another process", &bench::MeasurePress},
    {"log", "lines of the log", &bench::MeasureLog},
    {"channel", "the channel's tick, and long messages to another process", &bench::MeasureChannel},
    {"incoming", "long messages from the client", &bench::MeasureIncoming},
    {"library", "conversions, history and directories of the exported library", &bench::MeasureLibrary},
    {"cipher", "base64 and the payload cipher", &bench::MeasureCipher},
    {"idle", "what the add-in costs while nothing happens", &bench::MeasureIdle},
    {"memory", "private memory after the start", &bench::MeasureMemory},
    {"module", "size and imports of the module", &bench::MeasureModule},
};

struct Options {
    int runs = 0; // 0: three, or one of the quick ones
    bench::Effort effort;
    std::string only;    // one part, in the process that prints the table
    std::string part;    // this process measures that part
    std::string sample;  // this process loads that module once
    std::string receive; // this process is the receiver, with that shared memory
};

void Describe(CLI::App& app, Options& options) {
    std::vector<std::string> parts;
    std::string list = "Parts:\n";
    for (const Part& part : kParts) {
        parts.emplace_back(part.name);
        list += std::string("  ") + part.name + ": " + part.help + "\n";
    }
    const CLI::IsMember known(parts);
    app.description("Measures the add-in against floors and peers in the same run and prints a table in Markdown: the "
                    "median of the runs' medians, and the lowest and highest run; of a single run the spread is that "
                    "of its samples.");
    app.footer(list);
    app.add_flag("--quick", options.effort.quick, "fewer samples");
    app.add_option("--only", options.only, "one part")->check(known);
    app.add_option("--runs", options.runs, "without it three, with --quick one")->check(CLI::Range(1, 99));
    // For the program's own processes.
    app.add_option("--part", options.part)->check(known)->group("");
    app.add_option("--sample", options.sample)->group("");
    app.add_option("--receive", options.receive)->group("");
}

/// @return false when the part has failed; it has said why.
bool RunInChild(const Part& part, const Options& options, std::vector<bench::Summary>& table) {
    std::vector<std::wstring> arguments = {L"--part", ToWide(part.name)};
    if (options.effort.quick) {
        arguments.emplace_back(L"--quick");
    }
    std::fprintf(stderr, "%s: %s\n", part.name, part.help);
    process::ChildProcess process(process::ProgramPath(), arguments, process::Streams::OutputRead);
    for (std::string line; process.ReadLine(line);) {
        bench::Row row;
        if (bench::Unpack(line, row)) {
            std::fprintf(stderr, "  %s, done\n", row.name.c_str());
            bench::AddRow(table, row);
        }
    }
    return process.Wait() == 0;
}

int RunAll(const Options& options) {
    const int runs = options.runs > 0 ? options.runs : options.effort.Of(3, 1);
    std::vector<bench::Summary> table;
    std::string failed;
    for (int run = 1; run <= runs; ++run) {
        std::fprintf(stderr, "run %d of %d\n", run, runs);
        for (const Part& part : kParts) {
            if ((options.only.empty() || options.only == part.name) && !RunInChild(part, options, table)) {
                failed += std::string(" ") + part.name;
            }
        }
    }
    std::printf("\n%s", bench::FormatTable(table).c_str());
    std::fflush(stdout);
    if (!failed.empty()) {
        std::fprintf(stderr, "failed:%s\n", failed.c_str());
    }
    return failed.empty() ? 0 : 1;
}

int Run(const Options& options) {
    if (!options.sample.empty()) {
        return bench::RunSample(options.sample);
    }
    if (!options.receive.empty()) {
        return bench::RunReceiver(options.receive);
    }
    if (options.part.empty()) {
        return RunAll(options);
    }
    const auto named = [&](const Part& part) { return part.name == options.part; };
    std::find_if(std::begin(kParts), std::end(kParts), named)->measure(options.effort);
    return 0;
}

} // namespace

int main(int count, char** arguments) {
    Options options;
    CLI::App app("", "bench");
    Describe(app, options);
    CLI11_PARSE(app, count, arguments);
    try {
        return Run(options);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench: %s\n", error.what());
        return 1;
    }
}
