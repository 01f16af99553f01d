#include "bench/ChannelSession.h"

#include "support/LogLine.h"

namespace bench {
namespace {

constexpr ULONGLONG kDeadline = 5'000; // milliseconds
// Caches and fresh pages account for some tenths; a cost that grows with the square of the size would show 8.
constexpr double kLinear = 1.5;

/// As the add-in takes the channel's log texts: as a line of a level that its log drops.
void DropLog(const char* text) {
    LogLine(L"Business/Meeting", L"Meeting::logOutput").Debug() << text;
}

} // namespace

ChannelSession::ChannelSession(void (*receive)(const char*)) {
    Require(uisdk_protocol_start(receive, &DropLog, "") == 0, "the channel does not start");
    for (const ULONGLONG end = ::GetTickCount64() + kDeadline; !wire::Find(wire::kAddinWindow); ::Sleep(10)) {
        Require(::GetTickCount64() < end, "the channel has no window");
    }
}

void SendEnvelopes(HWND to, HWND from, const std::vector<wire::Envelope>& envelopes) {
    for (const wire::Envelope& envelope : envelopes) {
        Require(wire::SendBytes(to, from, envelope.number, envelope.text.c_str(), envelope.text.size() + 1) ==
                    ERROR_SUCCESS,
                "a bare send fails");
    }
}

void Linearity::Add(std::size_t bytes, const Row& row) {
    std::vector<double> perByte;
    for (const double microseconds : row.values) {
        perByte.push_back(microseconds * 1000 / static_cast<double>(bytes));
    }
    perByte_.push_back(std::move(perByte));
}

Row Linearity::Result() const {
    Require(perByte_.size() == 2, "two sizes make a slope");
    return {name_, "ns", perByte_[1], "a byte of 1 MiB", perByte_[0], Aim::AtMostTimes(kLinear)};
}

} // namespace bench
