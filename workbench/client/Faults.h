#pragma once

#include <windows.h>
#include <json/value.h>

#include <cstdint>
#include <string>
#include <string_view>

/// Mistakes that the stand-in client makes on order, so that a test can see whether the checker of clients notices
/// them. A client makes one of them or none. One thread.
namespace meeting_client {

struct Fault {
    std::string_view name;
    const char* rule; ///< of the checker, the only one that the mistake breaks
};
inline constexpr Fault kFaults[] = {
    {"wrong-title", "window-name"},        // the window has another title
    {"early-window", "after-log-in"},      // the window is there before the log-in
    {"small-buffer", "size-2022"},         // the receive buffer has 1024 bytes
    {"split-characters", "cut-anywhere"},  // decodes each segment by itself
    {"wrong-type", "modify"},              // answers command 6 with 103
    {"text-code", "member-code"},          // the code of an answer is a text
    {"same-number", "own-numbers"},        // all segmented messages have one number
    {"stale-window", "new-window"},        // keeps the add-in's first window
    {"dies-on-garbage", "garbage"},        // dies of a text that is no JSON object
    {"loses-burst", "burst"},              // takes no more than 150 commands
    {"slow-procedure", "returns-in-time"}, // works 3.5 s inside its window procedure
    {"ignores-uri", "launch"},             // ends when the launch URI starts it
};

/// @param name of `kFaults`; empty for none.
void SetFault(const std::string& name);
bool Makes(std::string_view fault) noexcept;

// Each of these changes something only with the fault that it belongs to.
void DistortWindow(HWND window);
/// @param buffer holds the changed bytes, and must live as long as the result is used.
COPYDATASTRUCT DistortReceived(const COPYDATASTRUCT& data, std::string& buffer);
/// Called inside the window procedure. @return false when the command is lost.
bool TakesCommand(int number);
void DistortAnswer(Json::Value& answer);
std::uint32_t DistortNumber(std::uint32_t number);
HWND DistortFound(HWND addin);

} // namespace meeting_client
