#include "bench/ChannelSession.h"
#include "bench/Parts.h"
#include "bench/Receiver.h"
#include "bench/WorkFolder.h"
#include "channel/uisdk_protocol.h"
#include "support/AddinLog.h"
#include "support/LogLine.h"

#include <atomic>
#include <string>
#include <vector>

namespace bench {
namespace {

std::atomic<int> g_ticks{0};

/// Called once a tick, with or without a text.
void CountTick(const char*) {
    ++g_ticks;
}

/// How often the channel's thread really moves messages: a wait ends when the system's timer lets it.
void MeasureTicks(int samples) {
    constexpr DWORD kWindow = 500; // milliseconds
    Row row{"one tick of the channel", "ms", {}, "Sleep(20)", {}};
    for (int sample = 0; sample < samples; ++sample) {
        const int before = g_ticks;
        int64_t start = Now();
        ::Sleep(kWindow);
        const int ticks = g_ticks - before;
        Require(ticks > 0, "the channel does not tick");
        row.values.push_back(Microseconds(Now() - start) / 1000 / ticks);
        start = Now();
        ::Sleep(20);
        row.floorValues.push_back(Microseconds(Now() - start) / 1000);
    }
    Report(row);
}

/// @return pieces that the receiver has to have got.
int64_t MeasureSize(const LongMessage& size, int samples, const Receiver& receiver, Linearity& linearity) {
    const std::string message(size.bytes, 'x');
    const std::vector<wire::Envelope> pieces = wire::Split(message, 1);
    const HWND own = wire::Find(wire::kAddinWindow);
    const auto send = [&] { Require(uisdk_protocol_send_direct(message.c_str()) == 0, "the channel cannot send"); };
    const auto sendByHand = [&] { SendEnvelopes(receiver.Window(), own, pieces); };
    const Row row = Compare(std::string(size.name) + " by the direct send", "SendMessageTimeout of the same pieces",
                            samples, 1, send, sendByHand, Aim::AtMostTimes(1.05));
    Report(row);
    linearity.Add(size.bytes, row);
    return static_cast<int64_t>(pieces.size()) * 2 * (samples + 1);
}

} // namespace

void MeasureChannel(const Effort& effort) {
    const WorkFolder folder;
    OpenAddinLogUnder(folder.Path().c_str());
    const Receiver receiver;
    int64_t expected = 0;
    {
        const ChannelSession channel(&CountTick);
        MeasureTicks(effort.Of(5, 3));
        Linearity linearity("direct send, a byte of 8 MiB");
        expected += MeasureSize(kLongMessages[0], effort.Of(9, 5), receiver, linearity);
        expected += MeasureSize(kLongMessages[1], effort.Of(2, 1), receiver, linearity);
        Report(linearity.Result());
    }
    CloseAddinLog();
    Require(receiver.State().messages == expected, "the receiver has not got every piece");
}

} // namespace bench
