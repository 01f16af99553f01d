#include "workbench/endings/Options.h"

#include <charconv>

namespace endings {
namespace {

const std::string& ValueOf(const std::vector<std::string>& arguments, std::size_t& at) {
    if (at + 1 == arguments.size()) {
        throw OptionsError(arguments[at] + " needs a value");
    }
    return arguments[++at];
}

std::uint64_t NumberOf(const std::vector<std::string>& arguments, std::size_t& at) {
    const std::string& name = arguments[at];
    return ParseNumber(name, ValueOf(arguments, at));
}

std::string PartOf(const std::vector<std::string>& arguments, std::size_t& at) {
    const std::string& part = ValueOf(arguments, at);
    if (part != "cycles" && part != "exits" && part != "log") {
        throw OptionsError("\"" + part + "\" is no part: cycles, exits or log");
    }
    return part;
}

} // namespace

std::uint64_t ParseNumber(const std::string& what, const std::string& text) {
    std::uint64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || error != std::errc() || end != text.data() + text.size()) {
        throw OptionsError(what + " needs a number");
    }
    return value;
}

Options ParseOptions(const std::vector<std::string>& arguments) {
    Options options;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string& argument = arguments[i];
        if (argument == "--child") {
            options.child.assign(arguments.begin() + static_cast<std::ptrdiff_t>(i) + 1, arguments.end());
            return options;
        }
        if (argument == "--cycles") {
            options.cycles = NumberOf(arguments, i);
        } else if (argument == "--exits") {
            options.exits = NumberOf(arguments, i);
        } else if (argument == "--lines") {
            options.lines = NumberOf(arguments, i);
        } else if (argument == "--seed") {
            options.seed = NumberOf(arguments, i);
            options.seedGiven = true;
        } else if (argument == "--part") {
            options.part = PartOf(arguments, i);
        } else if (argument == "--verbose") {
            options.verbose = true;
        } else if (argument == "--help" || argument == "-h") {
            options.help = true;
        } else {
            throw OptionsError("unknown option " + argument);
        }
    }
    return options;
}

const char* HelpText() {
    return R"(Ends the real add-in in every way that a host has, and lets several processes share its log.

usage: workbench_endings [--part cycles|exits|log] [--cycles N] [--exits N] [--lines N] [--seed N] [--verbose]

  --part NAME   only that part:
    cycles      load, connect, disconnect, release, free in one process; the same in processes of their own; and load,
                create, release, free without a connection, where the module must leave the memory each time
    exits       processes that end at random moments without OnDisconnection, with messages both ways under way
    log         several processes that write numbered lines into one log, also through its rotation
  --cycles N    (default 1000)
  --exits N     (default 300)
  --lines N     of each process that writes into the shared log (default 50000)
  --seed N      the same choices again; each run prints its own first
  --verbose     tell each exit

The log is the user's own, outlookaddin.txt and its copies: they are deleted before and after the parts exits and log.

Exit codes: 0 no violation, 1 violations, 2 wrong command line.
)";
}

} // namespace endings
