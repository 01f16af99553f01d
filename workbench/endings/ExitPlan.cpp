#include "workbench/endings/ExitPlan.h"

#include "workbench/endings/Options.h"

#include <iterator>

namespace endings {
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

ExitPlan ExitPlan::Draw(std::uint64_t number, std::mt19937_64& random) {
    ExitPlan plan;
    plan.ending = static_cast<Ending>(number % kEndings);
    plan.client = random() % 2 == 0;
    plan.delay = static_cast<unsigned>(random() % kLongestDelay);
    plan.code = kLowestCode + static_cast<unsigned>(random() % kCodes);
    plan.seed = static_cast<std::uint32_t>(random());
    if (plan.ending == Ending::ExitInDialog) {
        plan.client = false; // the dialog says that the client is being started
    } else if (plan.ending == Ending::ExitWhileSending) {
        plan.client = true;
        plan.delay += kUntilSending;
    } else if (plan.ending == Ending::ExitInCall) {
        plan.delay = 1 + plan.delay % kHighestCall;
    }
    return plan;
}

std::vector<std::wstring> ExitPlan::Orders() const {
    return {std::to_wstring(static_cast<unsigned>(ending)), std::to_wstring(client ? 1 : 0), std::to_wstring(delay),
            std::to_wstring(code), std::to_wstring(seed)};
}

ExitPlan ExitPlan::Read(const std::vector<std::string>& orders) {
    const auto number = [&](std::size_t at) { return ParseNumber("an ending", at < orders.size() ? orders[at] : ""); };
    if (number(0) >= kEndings) {
        throw OptionsError("no such ending");
    }
    return {static_cast<Ending>(number(0)), number(1) != 0, static_cast<unsigned>(number(2)),
            static_cast<unsigned>(number(3)), static_cast<std::uint32_t>(number(4))};
}

std::string ExitPlan::Text() const {
    return std::string(NameOf(ending)) + (client ? ", client there" : ", no client") + ", moment " +
           std::to_string(delay) + ", seed " + std::to_string(seed);
}

} // namespace endings
