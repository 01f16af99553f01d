#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace meeting_client {

enum ExitCode : int {
    kEnded = 0,
    kBadCommandLine = 1,
    kCannotStart = 2,
    kAlreadyRunning = 3,
    kScriptFailed = 4,
    kTimeRanOut = 5,
    kDiedAsOrdered = 9,
};

struct Options {
    std::string transcript; ///< file path; "-" for the standard output; empty for none
    std::string script;     ///< file path; empty for none
    std::vector<std::string> orders;
    std::chrono::milliseconds answerDelay{0};
    bool ignoreCommands = false;
    bool hidden = false;           ///< no channel window until the order "show"
    bool topLevel = false;         ///< a hidden top-level window instead of a message-only one
    std::uint32_t firstNumber = 1; ///< of its segmented messages
    bool panel = false;            ///< a window to look at
    std::string launchUri;         ///< empty when it was not launched by one
    /// With a launch URI: when the user has logged in. Nothing: only by the order "login".
    std::optional<std::chrono::milliseconds> loginAfter{1000};
    std::chrono::seconds longest{600};
    std::uint32_t parent = 0; ///< process id whose end ends the client; 0 for none
    bool registerUri = false;
    bool unregisterUri = false;
    bool help = false;
};

/// A message for the user about what is wrong.
class OptionsError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// @param arguments UTF-8, without the program's name. @throws OptionsError.
Options ParseOptions(const std::vector<std::string>& arguments);

/// True for "quorvex://HOST/h5page?page=launch" with any host.
bool IsLaunchUri(std::string_view uri);

/// A decimal number of at most `most`. @return nothing for anything else.
std::optional<std::uint64_t> ParseNumber(std::string_view text, std::uint64_t most);

std::string_view HelpText();

} // namespace meeting_client
