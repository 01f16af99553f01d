#include "bench/AddInSession.h"
#include "bench/Parts.h"
#include "bench/Receiver.h"
#include "workbench/host/Pump.h"

#include <random>

namespace bench {
namespace {

constexpr unsigned kDeadline = 5'000; // milliseconds
constexpr DWORD kTick = 20;           // milliseconds, the channel's

double TimeTick() {
    const int64_t start = Now();
    ::Sleep(kTick);
    return Microseconds(Now() - start) / 1000;
}

} // namespace

void MeasurePress(const Effort& effort) {
    const Receiver receiver;
    AddInSession session;
    workbench::Ribbon& ribbon = session.AddIn().Ribbon(workbench::Surface::Explorer);
    Row row{
        "press until the client has the command", "ms", {}, "one channel tick: Sleep(20)", {}, Aim::AtMostTimes(1.5)};
    std::mt19937 random(1); // so that presses fall anywhere between two ticks
    for (int sample = 0; sample <= effort.Of(50, 20); ++sample) {
        workbench::PumpFor(50 + random() % 50);
        const int64_t before = receiver.State().messages;
        const int64_t start = Now();
        Require(ribbon.Press(L"StartMeetingMail") == S_OK, "a press fails");
        Require(workbench::PumpUntil([&] { return receiver.State().messages > before; }, kDeadline),
                "a command does not arrive");
        if (sample > 0) { // the first one warms up
            row.values.push_back(Microseconds(receiver.State().counter - start) / 1000);
            row.floorValues.push_back(TimeTick());
        }
    }
    Report(row);
}

} // namespace bench
