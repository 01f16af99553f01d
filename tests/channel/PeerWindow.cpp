#include "tests/channel/PeerWindow.h"

#include <gtest/gtest.h>

namespace {

template <class Condition>
bool WaitFor(Condition&& condition) {
    const auto end = std::chrono::steady_clock::now() + kTestDeadline;
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= end) {
            return false;
        }
        ::Sleep(1);
    }
    return true;
}

} // namespace

void PeerWindow::Take(HWND sender, const COPYDATASTRUCT& data) {
    wire_.Add({sender, data.dwData});
    wire::Joiner::Result joined = joiner_.Take(data.dwData, static_cast<const char*>(data.lpData), data.cbData);
    for (const std::string& fault : joined.faults) {
        ADD_FAILURE() << "the add-in's side sends against the wire format: " << fault;
    }
    if (!joined.message.empty()) {
        messages_.Add(std::move(joined.message));
    }
}

void PeerWindow::Hang() {
    ::ResetEvent(awake_.Get());
    window_.Post([this] {
        ::SetEvent(hangs_.Get());
        ::WaitForSingleObject(awake_.Get(), INFINITE);
    });
    ::WaitForSingleObject(hangs_.Get(), INFINITE);
}

HWND PeerWindow::FindServer() {
    HWND server = nullptr;
    WaitFor([&server] { return (server = wire::Find(wire::kAddinWindow)) != nullptr; });
    return server;
}

bool PeerWindow::WaitForNoServer() {
    return WaitFor([] { return wire::Find(wire::kAddinWindow) == nullptr; });
}

bool PeerWindow::SendRaw(HWND server, ULONG_PTR number, const char* text, std::size_t bytes) {
    return wire::SendBytes(server, nullptr, number, text, bytes) == ERROR_SUCCESS;
}

bool PeerWindow::Send(std::string_view message) {
    return wire::Send(FindServer(), window_.Get(), message, ++number_);
}
