#include "workbench/verify/faults/MeetingClient.h"

#include "workbench/wire/Envelope.h"
#include "workbench/wire/Window.h"

#include <mutex>
#include <string>

namespace verify::client {
namespace {

std::mutex g_lock;
std::string g_commands;
const wire::WindowThread* g_window = nullptr;
std::uint32_t g_number = 100; // of the last message

LRESULT Take(HWND, const COPYDATASTRUCT& data) {
    const std::scoped_lock lock(g_lock);
    g_commands.append(static_cast<const char*>(data.lpData), data.cbData);
    return TRUE;
}

} // namespace

void Start() {
    if (g_window == nullptr) {
        g_window = new wire::WindowThread(wire::kClientWindow, &Take); // stays until the process ends
    }
}

bool IsThere() {
    return g_window != nullptr;
}

void ForgetCommands() {
    const std::scoped_lock lock(g_lock);
    g_commands.clear();
}

bool Has(std::string_view text) {
    const std::scoped_lock lock(g_lock);
    return g_commands.find(text) != std::string::npos;
}

bool HasServer() {
    return wire::Find(wire::kAddinWindow) != nullptr;
}

bool Notify(std::string_view json) {
    const HWND server = wire::Find(wire::kAddinWindow);
    return server != nullptr && wire::Send(server, nullptr, json, ++g_number);
}

void EndSegments() {
    if (const HWND server = wire::Find(wire::kAddinWindow)) {
        const std::string end = std::string(wire::kPrefix).append(" ").append(wire::kEndMark);
        wire::SendBytes(server, nullptr, g_number, end.c_str(), end.size() + 1);
    }
}

} // namespace verify::client
