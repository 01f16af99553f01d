#include "tests/channel/PeerWindow.h"

#include <gtest/gtest.h>

namespace {

/// Waits until there is such a window or, as wished, none. @return the window there is then.
HWND AwaitServer(bool there) {
    const auto end = std::chrono::steady_clock::now() + kTestDeadline;
    HWND server = wire::Find(wire::kAddinWindow);
    while ((server != nullptr) != there && std::chrono::steady_clock::now() < end) {
        ::Sleep(1);
        server = wire::Find(wire::kAddinWindow);
    }
    return server;
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
    return AwaitServer(true);
}

bool PeerWindow::WaitForNoServer() {
    return AwaitServer(false) == nullptr;
}

bool PeerWindow::SendRaw(HWND server, ULONG_PTR number, const char* text, std::size_t bytes) {
    return wire::SendBytes(server, nullptr, number, text, bytes) == ERROR_SUCCESS;
}

bool PeerWindow::Send(std::string_view message) {
    return wire::Send(FindServer(), window_.Get(), message, ++number_);
}
