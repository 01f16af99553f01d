#pragma once

#include "workbench/client/Transcript.h"
#include "workbench/wire/Envelope.h"
#include "workbench/wire/Window.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace meeting_client {

/// The client's end of the channel: its window, and what it puts on the wire. One thread.
class Link {
public:
    /// Called inside the window procedure, while the sender still waits.
    using OnMessage = std::function<void(const std::string& message)>;

    /// @param firstNumber of the segmented messages that it sends.
    Link(Transcript& transcript, OnMessage onMessage, std::uint32_t firstNumber);

    /// Makes the window unless it is there. @return false when it could not be made.
    bool Show();
    void Hide();
    bool IsShown() const noexcept { return window_.has_value(); }

    /// Sends a message, or only its first `most` envelopes. @return "ok" or why not.
    std::string Send(std::string_view message, std::size_t most = SIZE_MAX);

    /// Sends one WM_COPYDATA with just these bytes; `bytes` may be null. @return "ok" or why not.
    std::string SendRaw(std::uint64_t number, const char* bytes, std::size_t size);

private:
    void Receive(HWND sender, const COPYDATASTRUCT& sent);
    void RecordMessage(const char* direction, std::string_view message, const std::string& result);

    Transcript& transcript_;
    OnMessage onMessage_;
    std::optional<wire::Window> window_;
    wire::Joiner joiner_;
    std::uint32_t lastNumber_;
};

} // namespace meeting_client
