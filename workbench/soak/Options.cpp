#include "workbench/soak/Options.h"

#include <charconv>
#include <cmath>

namespace soak {
namespace {

constexpr double kLongestMinutes = 7 * 24 * 60;

std::uint64_t ReadNumber(const std::string& name, const std::vector<std::string>& arguments, std::size_t& at) {
    std::uint64_t value = 0;
    const std::string text = ++at < arguments.size() ? arguments[at] : std::string();
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || error != std::errc() || end != text.data() + text.size()) {
        throw OptionsError(name + " needs a number");
    }
    return value;
}

std::uint64_t ReadMinutes(const std::string& text) {
    char* end = nullptr;
    const double minutes = std::strtod(text.c_str(), &end);
    if (text.empty() || *end != '\0' || !(minutes > 0) || minutes > kLongestMinutes) {
        throw OptionsError("\"" + text + "\" is no number of minutes");
    }
    return static_cast<std::uint64_t>(std::ceil(minutes * 60));
}

} // namespace

Options ParseOptions(const std::vector<std::string>& arguments) {
    Options options;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string& argument = arguments[i];
        if (argument == "--seed") {
            options.seed = ReadNumber(argument, arguments, i);
            options.seedGiven = true;
        } else if (argument == "--seconds") {
            options.seconds = ReadNumber(argument, arguments, i);
        } else if (argument == "--actions") {
            options.actions = ReadNumber(argument, arguments, i);
        } else if (argument == "--verbose") {
            options.verbose = true;
        } else if (argument == "--help" || argument == "-h") {
            options.help = true;
        } else if (argument.starts_with('-')) {
            throw OptionsError("unknown option " + argument);
        } else {
            options.seconds = ReadMinutes(argument);
        }
    }
    return options;
}

const char* HelpText() {
    return R"(Drives the real add-in in the stand-in Outlook, against the real client process, through a long
random sequence of presses, notifications and events of the host, with clients that end, hang and are killed, and keeps
account of it all.

usage: workbench_soak [MINUTES] [--seed N] [--seconds N] [--actions N] [--verbose]

  MINUTES       how long it runs (default 3)
  --seconds N   the same in seconds
  --seed N      the same sequence of actions again; each run prints its own first
  --actions N   ends after that many actions at the latest
  --verbose     print each action

Exit codes: 0 no violation, 1 violations, 2 wrong command line, 3 no answer for a minute.
)";
}

} // namespace soak
