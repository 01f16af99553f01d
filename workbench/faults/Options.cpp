#include "workbench/faults/Options.h"

#include "support/Text.h"

#include <charconv>

namespace faults {
namespace {

std::uint64_t Number(const std::string& name, const std::string& text) {
    std::uint64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || value == 0) {
        throw OptionsError(name + " needs a number, not \"" + text + "\"");
    }
    return value;
}

} // namespace

Options ParseOptions(const std::vector<std::string>& arguments) {
    Options options;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string& name = arguments[i];
        const auto value = [&]() -> const std::string& {
            if (i + 1 == arguments.size()) {
                throw OptionsError(name + " needs a value");
            }
            return arguments[++i];
        };
        if (name == "--help" || name == "-h") {
            options.help = true;
        } else if (name == "--list") {
            options.list = true;
        } else if (name == "--kind") {
            options.round = ParseRound(value());
            if (!options.round) {
                throw OptionsError("there is no kind \"" + arguments[i] + "\"");
            }
        } else if (name == "--from") {
            options.from = Number(name, value());
        } else if (name == "--every") {
            options.every = Number(name, value());
        } else if (name == "--patience") {
            options.patience = Number(name, value());
        } else if (name == "--only") {
            options.only = true;
        } else if (name == "--stacks") {
            options.stacks = true;
        } else if (name == "--one-kind") {
            options.oneKind = true;
        } else if (name == "--worker") {
            options.worker = true;
        } else if (name == "--module") {
            options.module = ToWide(value());
        } else if (name.starts_with('-')) {
            throw OptionsError("unknown option " + name);
        } else {
            options.scenes.push_back(name);
        }
    }
    return options;
}

const char* HelpText() {
    return R"(Loads the real add-in into the stand-in Outlook and makes every fallible call that it makes fail in turn.

usage: workbench_faults [SCENE...] [OPTION...]

  SCENE        what happens while calls fail (default: all scenes)
  --kind K     calls of one kind only; "allocation+" lets every later call fail too
  --from N     begin with the kind's call N (with --kind)
  --every K    one point in K
  --only       just that one point
  --patience S seconds after which a point counts as hanging (default 12)
  --stacks     tell where the failed call, and what is left behind, come from
  --list       the scenes, the kinds, and the functions that are not made to fail with the reason
  --module F   another module than the built OutlookAddIn.dll

Exit codes: 0 no violation, 1 violations, 2 wrong command line.
)";
}

} // namespace faults
