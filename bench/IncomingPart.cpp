#include "bench/ChannelSession.h"
#include "bench/Parts.h"
#include "bench/WorkFolder.h"
#include "channel/Segments.h"
#include "support/AddinLog.h"
#include "support/LogLine.h"

#include <atomic>
#include <cstring>

namespace bench {
namespace {

constexpr uint32_t kNumber = 7;        // of the message, on the wire
constexpr ULONGLONG kDeadline = 5'000; // milliseconds

std::atomic<std::size_t> g_received{0}; // bytes of the last whole message

void TakeMessage(const char* text) {
    if (const std::size_t length = std::strlen(text); length != 0) {
        g_received = length;
    }
}

void AwaitMessage(std::size_t bytes) {
    for (const ULONGLONG end = ::GetTickCount64() + kDeadline; g_received != bytes; ::Sleep(5)) {
        Require(::GetTickCount64() < end, "a message has not come in whole");
    }
    g_received = 0;
}

/// Joining alone, of bodies that are there.
void MeasureJoining(const LongMessage& size, int samples, Linearity& linearity) {
    const std::string message(size.bytes, 'x');
    std::vector<std::string> bodies;
    for (const wire::Envelope& envelope : wire::Split(message, kNumber)) {
        bodies.emplace_back(SegmentBody(envelope.text).value());
    }
    const auto join = [&] {
        SegmentJoiner joiner;
        std::optional<std::string> whole;
        for (const std::string& body : bodies) {
            whole = joiner.Add(kNumber, body);
        }
        Require(whole && whole->size() == message.size(), "the joiner has lost something");
    };
    const auto appendTo = [&](std::string& whole) {
        for (const std::string& body : bodies) {
            whole.append(body);
        }
        Require(whole.size() > message.size(), "the floor has lost something");
    };
    const auto append = [&] {
        std::string whole;
        appendTo(whole);
    };
    const Row row = Compare(std::string(size.name) + " in, joining", "appending the same pieces to one string", samples,
                            4, join, append, Aim::AtMostTimes(1.5));
    Report(row);
    linearity.Add(size.bytes, row);

    // The platform's part of the floor: fresh pages for a string that grows.
    std::string kept;
    const auto appendInPlace = [&] { kept.clear(), appendTo(kept); };
    Report(Compare(std::string("  the floor: ") + size.name + " appended to one string", "the same, memory there",
                   samples, 4, append, appendInPlace));
}

/// From the first piece until the channel has the message whole; its tick, which hands it on, is not waited for.
void MeasureTaking(const LongMessage& size, int samples, Linearity& linearity) {
    const std::string message(size.bytes, 'x');
    const std::vector<wire::Envelope> pieces = wire::Split(message, kNumber);
    std::string text; // the floor of the whole way in: a window that appends each text to one string
    const wire::WindowThread floor(L"NembraBenchIncoming", [&text](HWND, const COPYDATASTRUCT& data) {
        text.append(static_cast<const char*>(data.lpData), data.cbData - 1);
        return TRUE;
    });
    const HWND own = wire::Find(wire::kAddinWindow);
    Row row{std::string(size.name) + " in, by WM_COPYDATA", "us", {},
            "a window that appends the same pieces",        {},   Aim::AtMostTimes(1.5)};
    for (int sample = 0; sample <= samples; ++sample) {
        int64_t start = Now();
        SendEnvelopes(own, nullptr, pieces);
        const double taken = Microseconds(Now() - start);
        AwaitMessage(message.size());
        std::string().swap(text); // nobody sends to the window meanwhile
        start = Now();
        SendEnvelopes(floor.Get(), nullptr, pieces);
        if (sample > 0) { // the first one warms up
            row.values.push_back(taken);
            row.floorValues.push_back(Microseconds(Now() - start));
        }
    }
    Report(row);
    linearity.Add(size.bytes, row);
}

} // namespace

void MeasureIncoming(const Effort& effort) {
    const WorkFolder folder;
    OpenAddinLogUnder(folder.Path().c_str());
    Linearity joining("joining, a byte of 8 MiB");
    MeasureJoining(kLongMessages[0], effort.Of(15, 7), joining);
    MeasureJoining(kLongMessages[1], effort.Of(7, 3), joining);
    Report(joining.Result());
    {
        const ChannelSession channel(&TakeMessage);
        Linearity taking("WM_COPYDATA in, a byte of 8 MiB");
        MeasureTaking(kLongMessages[0], effort.Of(9, 5), taking);
        MeasureTaking(kLongMessages[1], effort.Of(2, 1), taking);
        Report(taking.Result());
    }
    CloseAddinLog();
}

} // namespace bench
