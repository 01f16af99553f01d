#include "workbench/client/Link.h"

#include "workbench/client/Faults.h"

#include <cwchar>
#include <iterator>
#include <stdexcept>

namespace meeting_client {
namespace {

bool IsAddinWindow(HWND window) {
    wchar_t name[64] = L"";
    return ::GetClassNameW(window, name, static_cast<int>(std::size(name))) > 0 &&
           std::wcscmp(name, wire::kAddinWindow) == 0;
}

TranscriptEntry CopyDataEntry(const char* direction, std::uint64_t number, const char* bytes, std::size_t size) {
    TranscriptEntry entry;
    entry.kind = "copydata";
    entry.direction = direction;
    entry.number = number;
    entry.size = size;
    entry.null = !bytes;
    entry.terminated = bytes && size > 0 && bytes[size - 1] == '\0';
    if (bytes) {
        entry.bytes.assign(bytes, entry.terminated ? size - 1 : size);
    }
    return entry;
}

} // namespace

Link::Link(Transcript& transcript, OnMessage onMessage, std::uint32_t firstNumber)
    : transcript_(transcript), onMessage_(std::move(onMessage)), lastNumber_(firstNumber - 1) {}

bool Link::Show() {
    if (window_) {
        return true;
    }
    try {
        window_.emplace(wire::kClientWindow, [this](HWND sender, const COPYDATASTRUCT& data) {
            Receive(sender, data);
            return TRUE;
        });
        DistortWindow(window_->Get());
        transcript_.Note("channel window shown");
    } catch (const std::runtime_error&) {
        transcript_.Note("channel window could not be made");
    }
    return IsShown();
}

void Link::Hide() {
    if (window_) {
        window_.reset();
        transcript_.Note("channel window hidden");
    }
}

std::string Link::Send(std::string_view message, std::size_t most) {
    const bool segmented = message.size() > 1023;
    if (segmented && ++lastNumber_ == 0) {
        lastNumber_ = 1;
    }
    std::size_t sent = 0;
    std::string result = "ok";
    for (const wire::Envelope& envelope : wire::Split(message, DistortNumber(lastNumber_))) {
        if (sent++ == most) {
            result = "torn after " + std::to_string(most) + " segments";
            break;
        }
        result = SendRaw(envelope.number, envelope.text.c_str(), envelope.text.size() + 1);
        if (result != "ok") {
            break;
        }
    }
    RecordMessage("out", message, result);
    return result;
}

std::string Link::SendRaw(std::uint64_t number, const char* bytes, std::size_t size) {
    std::string result = "the add-in's window is not there";
    if (const HWND addin = DistortFound(wire::Find(wire::kAddinWindow))) {
        // It lets no order in meanwhile, which would send and be written down before this.
        const DWORD error = wire::SendBytes(addin, window_ ? window_->Get() : nullptr, number, bytes, size);
        result = error == ERROR_SUCCESS ? "ok" : "not taken: error " + std::to_string(error);
    }
    TranscriptEntry entry = CopyDataEntry("out", number, bytes, size);
    entry.result = result;
    transcript_.Write(std::move(entry));
    return result;
}

void Link::RecordMessage(const char* direction, std::string_view message, const std::string& result) {
    TranscriptEntry entry;
    entry.kind = "message";
    entry.direction = direction;
    entry.size = message.size();
    entry.bytes = message;
    entry.result = result;
    transcript_.Write(std::move(entry));
}

void Link::Receive(HWND sender, const COPYDATASTRUCT& sent) {
    std::string buffer;
    const COPYDATASTRUCT data = DistortReceived(sent, buffer);
    const auto* bytes = static_cast<const char*>(data.lpData);
    transcript_.Write(CopyDataEntry("in", data.dwData, bytes, data.cbData));
    if (!IsAddinWindow(sender)) {
        transcript_.Fault("wParam is not the add-in's window");
    }
    const wire::Joiner::Result joined = joiner_.Take(data.dwData, bytes, data.cbData);
    for (const std::string& fault : joined.faults) {
        transcript_.Fault(fault);
    }
    if (!joined.message.empty()) {
        RecordMessage("in", joined.message, "");
        onMessage_(joined.message);
    }
}

} // namespace meeting_client
