#include "workbench/client/Options.h"

#include <charconv>

namespace meeting_client {
namespace {

constexpr std::uint64_t kLongestWait = 3'600'000; // ms

std::chrono::milliseconds Milliseconds(const std::string& option, const std::string& text) {
    const auto number = ParseNumber(text, kLongestWait);
    if (!number) {
        throw OptionsError(option + " needs milliseconds from 0 to 3600000, not \"" + text + "\"");
    }
    return std::chrono::milliseconds(*number);
}

std::uint64_t Count(const std::string& option, const std::string& text, std::uint64_t most) {
    const auto number = ParseNumber(text, most);
    if (!number || *number == 0) {
        throw OptionsError(option + " needs a number from 1 to " + std::to_string(most) + ", not \"" + text + "\"");
    }
    return *number;
}

bool SetSwitch(const std::string& option, Options& options) {
    if (option == "--help") {
        options.help = true;
    } else if (option == "--ignore") {
        options.ignoreCommands = true;
    } else if (option == "--hidden") {
        options.hidden = true;
    } else if (option == "--top-level") {
        options.topLevel = true;
    } else if (option == "--window") {
        options.panel = true;
    } else if (option == "--register-uri") {
        options.registerUri = true;
    } else if (option == "--unregister-uri") {
        options.unregisterUri = true;
    } else {
        return false;
    }
    return true;
}

bool SetValue(const std::string& option, const std::string& value, Options& options) {
    if (option == "--transcript") {
        options.transcript = value;
    } else if (option == "--script") {
        options.script = value;
    } else if (option == "--order") {
        options.orders.push_back(value);
    } else if (option == "--answer-delay") {
        options.answerDelay = Milliseconds(option, value);
    } else if (option == "--login-after") {
        options.loginAfter.reset();
        if (value != "manual") {
            options.loginAfter = Milliseconds(option, value);
        }
    } else if (option == "--max-seconds") {
        options.longest = std::chrono::seconds(Count(option, value, 86'400));
    } else if (option == "--first-number") {
        options.firstNumber = static_cast<std::uint32_t>(Count(option, value, 0xFFFF'FFFF));
    } else if (option == "--parent") {
        options.parent = static_cast<std::uint32_t>(Count(option, value, 0xFFFF'FFFF));
    } else {
        return false;
    }
    return true;
}

bool TakesValue(const std::string& option) {
    for (const char* known : {"--transcript", "--script", "--order", "--answer-delay", "--login-after", "--max-seconds",
                              "--first-number", "--parent"}) {
        if (option == known) {
            return true;
        }
    }
    return false;
}

} // namespace

std::optional<std::uint64_t> ParseNumber(std::string_view text, std::uint64_t most) {
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (text.empty() || error != std::errc() || end != text.data() + text.size() || number > most) {
        return std::nullopt;
    }
    return number;
}

bool IsLaunchUri(std::string_view uri) {
    constexpr std::string_view kScheme = "quorvex://";
    constexpr std::string_view kPage = "/h5page?page=launch";
    if (!uri.starts_with(kScheme) || !uri.ends_with(kPage) || uri.size() <= kScheme.size() + kPage.size()) {
        return false;
    }
    const std::string_view host = uri.substr(kScheme.size(), uri.size() - kScheme.size() - kPage.size());
    return host.find_first_of("/?# ") == std::string_view::npos;
}

Options ParseOptions(const std::vector<std::string>& arguments) {
    Options options;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string& argument = arguments[i];
        if (SetSwitch(argument, options)) {
            continue;
        }
        if (TakesValue(argument)) {
            if (i + 1 == arguments.size()) {
                throw OptionsError(argument + " needs a value");
            }
            SetValue(argument, arguments[++i], options);
        } else if (argument.starts_with("--")) {
            throw OptionsError("unknown option \"" + argument + "\"");
        } else if (!IsLaunchUri(argument)) {
            throw OptionsError("not a launch URI: \"" + argument + "\"");
        } else {
            options.launchUri = argument;
        }
    }
    return options;
}

} // namespace meeting_client
