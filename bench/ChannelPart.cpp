#include "bench/Parts.h"
#include "bench/Receiver.h"
#include "bench/WorkFolder.h"
#include "channel/Segments.h"
#include "channel/uisdk_protocol.h"
#include "support/AddinLog.h"
#include "support/LogLine.h"
#include "support/Text.h"

#include <atomic>
#include <string>
#include <vector>

namespace bench {
namespace {

constexpr std::size_t kMessage = 1 << 20; // bytes
constexpr wchar_t kOwnWindow[] = L"NbmProxyOutlookServerWnd";
constexpr UINT kSendLimit = 3'000;     // milliseconds, the channel's
constexpr ULONGLONG kDeadline = 5'000; // milliseconds

std::atomic<int> g_ticks{0};

/// Called once a tick, with or without a text.
void CountTick(const char*) {
    ++g_ticks;
}

/// As the add-in takes the channel's log texts: as a line of a level that its log drops.
void DropLog(const char* text) {
    LogLine(L"Business/Meeting", L"Meeting::logOutput").Debug() << ToWide(text);
}

/// The channel with its window up.
class ChannelSession {
public:
    ChannelSession() {
        Require(uisdk_protocol_start(&CountTick, &DropLog, "") == 0, "the channel does not start");
        for (const ULONGLONG end = ::GetTickCount64() + kDeadline; !OwnWindow(); ::Sleep(10)) {
            Require(::GetTickCount64() < end, "the channel has no window");
        }
    }
    ~ChannelSession() { uisdk_protocol_stop(); }
    ChannelSession(const ChannelSession&) = delete;
    ChannelSession& operator=(const ChannelSession&) = delete;

    static HWND OwnWindow() { return ::FindWindowExW(HWND_MESSAGE, nullptr, kOwnWindow, kOwnWindow); }
};

std::vector<std::string> CutBeforehand(const std::string& message) {
    std::vector<std::string> pieces;
    for (SegmentSplitter splitter(message); splitter.Next();) {
        pieces.emplace_back(splitter.Text());
    }
    return pieces;
}

void SendByHand(HWND own, HWND peer, const std::vector<std::string>& pieces) {
    for (const std::string& piece : pieces) {
        COPYDATASTRUCT data{1, static_cast<DWORD>(piece.size() + 1), const_cast<char*>(piece.data())};
        Require(::SendMessageTimeoutW(peer, WM_COPYDATA, reinterpret_cast<WPARAM>(own), reinterpret_cast<LPARAM>(&data),
                                      SMTO_BLOCK | SMTO_ABORTIFHUNG, kSendLimit, nullptr) != 0,
                "a bare send fails");
    }
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

} // namespace

void MeasureChannel(const Effort& effort) {
    const WorkFolder folder;
    OpenAddinLogUnder(folder.Path().c_str());
    const Receiver receiver;
    const std::string message(kMessage, 'x');
    const std::vector<std::string> pieces = CutBeforehand(message);
    const int samples = effort.Of(30, 7);
    {
        const ChannelSession channel;
        MeasureTicks(effort.Of(10, 4));
        const HWND own = ChannelSession::OwnWindow();
        const auto send = [&] { Require(uisdk_protocol_send_direct(message.c_str()) == 0, "the channel cannot send"); };
        const auto sendByHand = [&] { SendByHand(own, receiver.Window(), pieces); };
        Report(
            Compare("1 MiB by the direct send", "SendMessageTimeout of the same pieces", samples, 1, send, sendByHand));
    }
    CloseAddinLog();
    const auto expected = static_cast<int64_t>(pieces.size()) * 2 * (samples + 1);
    Require(receiver.State().messages == expected, "the receiver has not got every piece");
}

} // namespace bench
