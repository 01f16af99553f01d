#include "workbench/faults/MeetingClient.h"

#include <algorithm>
#include <utility>

namespace faults {
namespace {

constexpr const wchar_t* kClientName = L"NbmProxyOutlookClientWnd";
constexpr const wchar_t* kServerName = L"NbmProxyOutlookServerWnd";
constexpr std::size_t kSegment = 1011; // bytes of a message that a segment carries
constexpr std::string_view kSegmentMark = "%pre_nbmsdk%";
constexpr std::string_view kEndMark = "%end_flag%";

MeetingClient* g_client = nullptr;
ULONG_PTR g_number = 100; // of the last message in segments

bool SendPiece(HWND server, ULONG_PTR number, const std::string& text) {
    COPYDATASTRUCT data{};
    data.dwData = number;
    data.cbData = static_cast<DWORD>(text.size() + 1);
    data.lpData = const_cast<char*>(text.c_str()); // the receiver only reads it
    return ::SendMessageTimeoutW(server, WM_COPYDATA, 0, reinterpret_cast<LPARAM>(&data), SMTO_NORMAL, 5000, nullptr) !=
           0;
}

} // namespace

MeetingClient& MeetingClient::Start() {
    if (g_client == nullptr) {
        g_client = new MeetingClient; // stays until the process ends, its window with it
    }
    return *g_client;
}

MeetingClient* MeetingClient::Running() {
    return g_client;
}

MeetingClient::MeetingClient() : ready_(::CreateEventW(nullptr, TRUE, FALSE, nullptr)), thread_([this] { Pump(); }) {
    ::WaitForSingleObject(ready_, INFINITE);
}

void MeetingClient::Pump() {
    WNDCLASSEXW windowClass{};
    windowClass.cbSize = sizeof windowClass;
    windowClass.lpfnWndProc = &MeetingClient::Procedure;
    windowClass.lpszClassName = kClientName;
    ::RegisterClassExW(&windowClass);
    HWND window = ::CreateWindowExW(0, kClientName, kClientName, 0, 0, 0, 0, 0, nullptr, nullptr, nullptr, nullptr);
    ::SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
    ::SetEvent(ready_);
    MSG message{};
    while (::GetMessageW(&message, nullptr, 0, 0) > 0) {
        ::DispatchMessageW(&message);
    }
}

LRESULT CALLBACK MeetingClient::Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message != WM_COPYDATA) {
        return ::DefWindowProcW(window, message, wParam, lParam);
    }
    auto* self = reinterpret_cast<MeetingClient*>(::GetWindowLongPtrW(window, GWLP_USERDATA));
    const auto& data = *reinterpret_cast<const COPYDATASTRUCT*>(lParam);
    const std::scoped_lock lock(self->lock_);
    self->commands_.emplace_back(static_cast<const char*>(data.lpData), data.cbData);
    return TRUE;
}

std::vector<std::string> MeetingClient::Take() {
    const std::scoped_lock lock(lock_);
    return std::exchange(commands_, {});
}

bool MeetingClient::Has(std::string_view text) {
    const std::scoped_lock lock(lock_);
    return std::any_of(commands_.begin(), commands_.end(),
                       [&](const std::string& command) { return command.find(text) != std::string::npos; });
}

bool MeetingClient::HasServer() {
    return ::FindWindowExW(HWND_MESSAGE, nullptr, kServerName, nullptr) != nullptr;
}

void MeetingClient::EndSegments() {
    if (HWND server = ::FindWindowExW(HWND_MESSAGE, nullptr, kServerName, nullptr)) {
        SendPiece(server, g_number, std::string(kSegmentMark).append(" ").append(kEndMark));
    }
}

bool MeetingClient::Notify(std::string_view json) {
    HWND server = ::FindWindowExW(HWND_MESSAGE, nullptr, kServerName, nullptr);
    if (server == nullptr) {
        return false;
    }
    if (json.size() <= kSegment) {
        return SendPiece(server, 0, std::string(json));
    }
    ++g_number;
    for (; json.size() > kSegment; json.remove_prefix(kSegment)) {
        if (!SendPiece(server, g_number, std::string(kSegmentMark).append(json.substr(0, kSegment)))) {
            return false;
        }
    }
    return SendPiece(server, g_number, std::string(kSegmentMark).append(json).append(kEndMark));
}

} // namespace faults
