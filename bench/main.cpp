#include "bench/Parts.h"
#include "bench/Receiver.h"
#include "bench/Table.h"
#include "support/Text.h"
#include "workbench/process/ChildProcess.h"
#include "workbench/process/OwnProgram.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
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

constexpr int kMostRuns = 99;

struct Options {
    bool help = false;
    bool markdown = false;
    int runs = 0; // 0: three, or one of the quick ones
    bench::Effort effort;
    std::string only;    // one part, in the process that prints the table
    std::string part;    // this process measures that part
    std::string sample;  // this process loads that module once
    std::string receive; // this process is the receiver, with that shared memory
};

/// @return false for an argument that is none of ours.
bool ReadOptions(int count, char** arguments, Options& options) {
    for (int each = 1; each < count; ++each) {
        const std::string argument = arguments[each];
        const std::string value = each + 1 < count ? arguments[each + 1] : "";
        if (argument == "--help") {
            options.help = true;
        } else if (argument == "--quick") {
            options.effort.quick = true;
        } else if (argument == "--markdown") {
            options.markdown = true;
        } else if (argument == "--runs" && std::atoi(value.c_str()) > 0) {
            options.runs = std::min(std::atoi(value.c_str()), kMostRuns);
            ++each;
        } else if (std::string* const target = argument == "--only"      ? &options.only
                                               : argument == "--part"    ? &options.part
                                               : argument == "--sample"  ? &options.sample
                                               : argument == "--receive" ? &options.receive
                                                                         : nullptr;
                   target != nullptr && !value.empty()) {
            *target = value;
            ++each;
        } else {
            return false;
        }
    }
    return true;
}

void PrintHelp() {
    std::puts("usage: bench [--quick] [--only PART] [--runs N] [--markdown]\n"
              "Measures the add-in against floors and peers in the same run and prints a table: the median of the\n"
              "runs' medians, and the lowest and highest run. Without --runs three runs, with --quick one, whose\n"
              "spread is that of its samples. --markdown prints the table for docs/performance.md. Parts:");
    for (const Part& part : kParts) {
        std::printf("  %-10s %s\n", part.name, part.help);
    }
}

const Part* FindPart(const std::string& name) {
    for (const Part& part : kParts) {
        if (name == part.name) {
            return &part;
        }
    }
    return nullptr;
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
    const std::string text = options.markdown ? bench::FormatMarkdown(table) : bench::FormatTable(table);
    std::printf("\n%s", text.c_str());
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
    FindPart(options.part)->measure(options.effort);
    return 0;
}

} // namespace

int main(int count, char** arguments) {
    Options options;
    const bool understood = ReadOptions(count, arguments, options);
    const std::string& part = options.part.empty() ? options.only : options.part;
    if (!understood || options.help || (!part.empty() && FindPart(part) == nullptr)) {
        PrintHelp();
        return options.help ? 0 : 2;
    }
    try {
        return Run(options);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench: %s\n", error.what());
        return 1;
    }
}
