#include "workbench/verify/core/Options.h"

#include "workbench/verify/core/Report.h"

#include "workbench/process/CommandLine.h"

#include <CLI/CLI.hpp>

#include <random>

namespace verify {
namespace {

void AddSoak(CLI::App& app, SoakOptions& options) {
    app.add_option("MINUTES", options.minutes, "duration (default 3)")->check(CLI::PositiveNumber);
    app.add_option("--seconds", options.seconds, "duration in seconds");
    app.add_option("--seed", options.seed, "the same sequence of actions again");
    app.add_option("--actions", options.actions, "ends after that many actions at the latest");
    app.add_flag("--verbose", options.verbose, "print each action");
}

void AddHostile(CLI::App& app, HostileOptions& options) {
    app.add_option("MESSAGES", options.messages, "number of messages (default 1000000)");
    app.add_option("--seed", options.seed, "the same sequence again");
    app.add_flag("--self-test", options.selfTest, "only damage some heap blocks, and fail unless each is noticed");
    app.add_option("--board", options.board)->group("");
}

void AddEndings(CLI::App& app, EndingOptions& options) {
    app.footer("The log is the user's own: it and its copies are deleted before and after the parts exits and log.");
    app.add_option("--cycles", options.cycles, "number of load cycles (default 1000)");
    app.add_option("--exits", options.exits, "number of processes that end at random moments (default 300)");
    app.add_option("--lines", options.lines, "lines of each process in the shared log (default 50000)");
    app.add_option("--part", options.part, "one part")->check(CLI::IsMember({"cycles", "exits", "log"}));
    app.add_option("--seed", options.seed, "the same choices again");
    app.add_flag("--verbose", options.verbose, "print each exit");
    app.add_option("--child", options.child)->group("");
}

void AddFaults(CLI::App& app, FaultOptions& options) {
    app.add_option("SCENE", options.scenes, "the actions during which calls fail (default: all scenes)");
    app.option_defaults()->take_last();
    auto* kind = app.add_option("--kind", options.kind, "one kind; \"allocation+\" also lets all later calls fail");
    app.add_option("--from", options.from, "begin with call N of the kind")->check(CLI::PositiveNumber)->needs(kind);
    app.add_option("--every", options.every, "one point in N")->check(CLI::PositiveNumber);
    app.add_option("--patience", options.patience, "seconds after which a point counts as hanging");
    app.add_option("--module", options.module, "another module than the built OutlookAddIn.dll");
    app.add_flag("--only", options.only, "only the point that --from names");
    app.add_flag("--list", options.list, "the scenes, the kinds, and the functions that do not fail");
    app.add_option("--worker", options.worker)->group("");
    app.add_option("--behind", options.behind)->group("");
}

} // namespace

int ReadOptions(Options& options) {
    CLI::App app("The long runs of the add-in. One process plays one mode.", "workbench_verify");
    app.require_subcommand(1);
    app.footer("Exit codes: 0 no violation, 1 violations, 2 wrong command line, 3 no answer; a crash has its own.");
    options.soak.seed = options.hostile.seed = options.endings.seed = std::random_device{}();
    AddSoak(*app.add_subcommand("soak", "A long random run, with an account at the end."), options.soak);
    AddHostile(*app.add_subcommand("hostile", "A second process sends mutated messages."), options.hostile);
    AddEndings(*app.add_subcommand("endings", "Load cycles, process ends, one log for several."), options.endings);
    AddFaults(*app.add_subcommand("faults", "Each call that can fail fails in turn."), options.faults);
    try {
        app.parse(process::ParserArguments());
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? kNoViolation : kBadCommandLine;
    }
    options.mode = app.get_subcommands().front()->get_name();
    return -1;
}

} // namespace verify
