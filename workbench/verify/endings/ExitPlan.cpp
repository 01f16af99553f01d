#include "workbench/verify/endings/ExitPlan.h"

#include <fmt/format.h>

#include <iterator>

namespace verify {
namespace {

constexpr const char* kNames[] = {"ExitProcess on the main thread",
                                  "return from main",
                                  "TerminateProcess from outside",
                                  "ExitProcess while a dialog is open",
                                  "ExitProcess while a command goes to a hanging client",
                                  "ExitProcess in the middle of log writes",
                                  "TerminateProcess in the middle of log writes",
                                  "ExitProcess on a second thread",
                                  "ExitProcess inside a call to the host",
                                  "return from main after OnDisconnection, without FreeLibrary",
                                  "ExitProcess right after OnDisconnection"};
constexpr auto kEndings = static_cast<std::uint64_t>(Ending::Count);
static_assert(std::size(kNames) == kEndings);

constexpr unsigned kLongestDelay = 250; // ms: a dozen ticks of the channel
constexpr unsigned kUntilSending = 80;  // ms; a few ticks
constexpr unsigned kHighestCall = 120;
constexpr unsigned kLowestCode = 20;
constexpr unsigned kCodes = 200;

} // namespace

const char* NameOf(Ending ending) {
    return kNames[static_cast<std::size_t>(ending)];
}

ExitPlan::ExitPlan(std::uint64_t number, std::uint64_t seed)
    : random(seed ^ (number + 1) * 0x9E3779B97F4A7C15),
      ending(static_cast<Ending>(number % kEndings)),
      client(random() % 2 == 0),
      delay(static_cast<unsigned>(random() % kLongestDelay)),
      code(kLowestCode + static_cast<unsigned>(random() % kCodes)) {
    if (ending == Ending::ExitInDialog) {
        client = false; // the dialog says that the client is being started
    } else if (ending == Ending::ExitWhileSending) {
        client = true;
        delay += kUntilSending;
    } else if (ending == Ending::ExitInCall) {
        delay = 1 + delay % kHighestCall;
    }
}

std::string ExitPlan::Text() const {
    return fmt::format("{}, {}, moment {}, code {}", NameOf(ending), client ? "client there" : "no client", delay,
                       code);
}

} // namespace verify
