#pragma once

#include "bench/Measure.h"
#include "channel/uisdk_protocol.h"
#include "workbench/wire/Envelope.h"
#include "workbench/wire/Window.h"

#include <array>
#include <string>
#include <vector>

namespace bench {

/// The channel with its window up; its log texts go where the add-in's go. One at a time.
class ChannelSession {
public:
    explicit ChannelSession(void (*receive)(const char*));
    ~ChannelSession() { uisdk_protocol_stop(); }
    ChannelSession(const ChannelSession&) = delete;
    ChannelSession& operator=(const ChannelSession&) = delete;
};

struct LongMessage {
    const char* name;
    std::size_t bytes;
};
inline constexpr std::array<LongMessage, 2> kLongMessages = {{{"1 MiB", 1 << 20}, {"8 MiB", 8 << 20}}};

/// Sends envelopes that were cut beforehand.
void SendEnvelopes(HWND to, HWND from, const std::vector<wire::Envelope>& envelopes);

/// Whether cost grows as size does: what a byte of the longer message costs beside a byte of the shorter one.
class Linearity {
public:
    explicit Linearity(std::string name) : name_(std::move(name)) {}

    /// The shorter message first.
    void Add(std::size_t bytes, const Row& row);
    Row Result() const;

private:
    std::string name_;
    std::vector<std::vector<double>> perByte_; // nanoseconds
};

} // namespace bench
