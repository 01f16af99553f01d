#include "workbench/endings/Cycles.h"
#include "workbench/endings/ExitChild.h"
#include "workbench/endings/Exits.h"
#include "workbench/endings/LogFiles.h"
#include "workbench/endings/LogPart.h"
#include "workbench/endings/Process.h"

#include <windows.h>
#include <comdef.h>
#include <objbase.h>

#include <cstdio>
#include <exception>
#include <random>

namespace {

using namespace endings;

enum ExitCode : int { kNoViolation = 0, kViolations = 1, kBadCommandLine = 2 };

int PlayChild(const std::vector<std::string>& orders) {
    ReportCrashes();
    ::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    const std::vector<std::string> rest(orders.begin() + 1, orders.end());
    if (orders.front() == "cycles") {
        return PlayCycles(rest);
    }
    return orders.front() == "write" ? PlayWriter(rest) : PlayExit(rest);
}

int RunParts(Options options) {
    if (!options.seedGiven) {
        options.seed = std::random_device{}();
    }
    Say("seed " + std::to_string(options.seed));
    Report report;
    try {
        if (options.Wants("cycles")) {
            RunCycles(options, report);
        }
        if (options.Wants("exits")) {
            RunExits(options, report);
        }
        if (options.Wants("log")) {
            RunLog(options, report);
        }
    } catch (const std::exception& error) {
        report.Violation(error.what());
    }
    std::printf("\nLedger of seed %llu\n", static_cast<unsigned long long>(options.seed));
    report.Tell();
    return report.Clean() ? kNoViolation : kViolations;
}

int Start(const std::vector<std::string>& arguments) {
    const Options options = ParseOptions(arguments);
    if (options.help) {
        std::fputs(HelpText(), stdout);
        return kNoViolation;
    }
    return options.child.empty() ? RunParts(options) : PlayChild(options.child);
}

} // namespace

int main(int count, char** texts) {
    int code = kViolations;
    try {
        code = Start({texts + 1, texts + count});
    } catch (const OptionsError& error) {
        std::fprintf(stderr, "workbench_endings: %s\nworkbench_endings --help tells the options\n", error.what());
        code = kBadCommandLine;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "workbench_endings: %s\n", error.what());
    } catch (const _com_error& error) {
        std::fprintf(stderr, "workbench_endings: status 0x%08lx\n", static_cast<unsigned long>(error.Error()));
    }
    std::fflush(stdout);
    return code;
}
