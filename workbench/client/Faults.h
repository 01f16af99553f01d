#pragma once

#include <windows.h>
#include <json/value.h>

#include <cstdint>
#include <string>

/// Mistakes that the stand-in client makes on order, so that a test can see whether the checker of clients notices
/// them. A client makes one of them or none. One thread.
namespace meeting_client {

enum class Fault {
    None,
    WrongTitle,
    EarlyWindow,
    SmallBuffer,
    SplitCharacters,
    WrongType,
    TextCode,
    SameNumber,
    StaleWindow,
    DiesOnGarbage,
    LosesBurst,
    SlowProcedure,
    IgnoresUri
};

struct FaultName {
    Fault fault;
    const char* name;
    const char* meaning;
};
inline constexpr FaultName kFaultNames[] = {
    {Fault::WrongTitle, "wrong-title", "the window has another title"},
    {Fault::EarlyWindow, "early-window", "the window is there before the log-in"},
    {Fault::SmallBuffer, "small-buffer", "the receive buffer has 1024 bytes"},
    {Fault::SplitCharacters, "split-characters", "decodes each segment by itself"},
    {Fault::WrongType, "wrong-type", "answers command 6 with 103"},
    {Fault::TextCode, "text-code", "the code of an answer is a text"},
    {Fault::SameNumber, "same-number", "all segmented messages have one number"},
    {Fault::StaleWindow, "stale-window", "keeps the add-in's first window"},
    {Fault::DiesOnGarbage, "dies-on-garbage", "dies of a text that is no JSON object"},
    {Fault::LosesBurst, "loses-burst", "takes no more than 150 commands"},
    {Fault::SlowProcedure, "slow-procedure", "works 3.5 s inside its window procedure"},
    {Fault::IgnoresUri, "ignores-uri", "ends when the launch URI starts it"},
};

/// @throws CLI::ValidationError, which lists the names, for an unknown one.
void SetFault(const std::string& name);
bool Makes(Fault fault) noexcept;

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
