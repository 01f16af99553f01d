#include "workbench/demo/Options.h"

#include "workbench/demo/Scenarios.h"

#include "support/Text.h"

#include <algorithm>
#include <cwchar>

namespace demo {
namespace {

constexpr unsigned long kLongestPace = 5000; // ms

unsigned ReadPace(const std::wstring& text) {
    wchar_t* end = nullptr;
    const unsigned long value = std::wcstoul(text.c_str(), &end, 10);
    if (text.empty() || *end != L'\0' || value > kLongestPace) {
        throw OptionsError("--pace needs milliseconds from 0 to 5000");
    }
    return static_cast<unsigned>(value);
}

bool ReadLanguage(const std::wstring& text) {
    if (text != L"zh" && text != L"en") {
        throw OptionsError("--language needs en or zh");
    }
    return text == L"zh";
}

std::wstring ReadScenario(const std::wstring& text) {
    const auto scenarios = AllScenarios();
    const auto named = [&](const Scenario& one) { return text == one.name; };
    if (text != kOnlyStart && std::none_of(scenarios.begin(), scenarios.end(), named)) {
        throw OptionsError("no scenario \"" + ToUtf8(text) + "\"");
    }
    return text;
}

} // namespace

Options ParseOptions(const std::vector<std::wstring>& arguments) {
    Options options;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::wstring& name = arguments[i];
        const auto value = [&]() -> const std::wstring& {
            if (i + 1 == arguments.size()) {
                throw OptionsError(ToUtf8(name) + " needs a value");
            }
            return arguments[++i];
        };
        if (name == L"--language") {
            options.chinese = ReadLanguage(value());
        } else if (name == L"--scenario") {
            options.scenario = ReadScenario(value());
        } else if (name == L"--pictures") {
            options.pictures = value();
        } else if (name == L"--pace") {
            options.pace = ReadPace(value());
        } else if (name == L"--by-path") {
            options.byPath = true;
        } else if (name == L"--dll" || name == L"--installed") {
            options.installed = name == L"--installed";
            options.dll = value();
        } else if (name == L"--colour") {
            options.colour = true;
        } else if (name == L"--verbose") {
            options.verbose = true;
        } else if (name == L"--help") {
            options.help = true;
        } else {
            throw OptionsError("unknown argument \"" + ToUtf8(name) + "\"");
        }
    }
    return options;
}

const char* HelpText() {
    return R"(Loads the real add-in into the stand-in Outlook and plays its story against the stand-in meeting client.

usage: workbench_demo [OPTION...]

  --language en|zh   language of the stand-in Outlook (default en)
  --scenario NAME    only that one: schedule, launch, notify or life; start for none of them
  --pictures FOLDER  ask for pictures: a line "@picture NAME WIDTHxHEIGHT+LEFT+TOP" on the standard output, and whoever
                     reads it answers by writing FOLDER\NAME.png
  --pace MS          pause before each step (default 0)
  --verbose          also tell every call, event, window and ribbon callback
  --colour           colour the output
  --by-path          load the file of the add-in itself; else it is registered on this machine while the story lasts,
                     which needs an elevated prompt
  --installed FILE   the add-in that an installer has installed as FILE; it stays as it is
  --dll FILE         the add-in (default: the one built with this program)
  --help             this text

Exit codes: 0 every step happened, 1 a step did not happen within its deadline or not as it should, 2 wrong command line.
)";
}

} // namespace demo
