#include "tests/channel/PeerWindow.h"

#include <stdexcept>

namespace {

constexpr const wchar_t* kPeerName = L"NbmProxyOutlookClientWnd";
constexpr const wchar_t* kServerName = L"NbmProxyOutlookServerWnd";
constexpr UINT kHang = WM_APP + 1;

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

PeerWindow::PeerWindow()
    : ready_(::CreateEventW(nullptr, TRUE, FALSE, nullptr)), awake_(::CreateEventW(nullptr, TRUE, TRUE, nullptr)) {
    thread_ = std::thread([this] { Run(); });
    ::WaitForSingleObject(ready_, INFINITE);
    if (window_ == nullptr) {
        thread_.join();
        throw std::runtime_error("the peer's window could not be created");
    }
}

PeerWindow::~PeerWindow() {
    Wake();
    ::PostMessageW(window_, WM_CLOSE, 0, 0);
    thread_.join();
    ::CloseHandle(ready_);
    ::CloseHandle(awake_);
}

void PeerWindow::Run() {
    WNDCLASSEXW windowClass{};
    windowClass.cbSize = sizeof(windowClass);
    windowClass.lpfnWndProc = Procedure;
    windowClass.lpszClassName = kPeerName;
    ::RegisterClassExW(&windowClass); // fails for the second peer, whose class is there
    window_ = ::CreateWindowExW(0, kPeerName, kPeerName, 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
    if (window_ != nullptr) {
        ::SetWindowLongPtrW(window_, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
    }
    ::SetEvent(ready_);
    MSG message{};
    while (window_ != nullptr && ::GetMessageW(&message, nullptr, 0, 0) > 0) {
        ::DispatchMessageW(&message);
    }
}

LRESULT CALLBACK PeerWindow::Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    auto* self = reinterpret_cast<PeerWindow*>(::GetWindowLongPtrW(window, GWLP_USERDATA));
    switch (message) {
    case WM_COPYDATA:
        self->Take(reinterpret_cast<HWND>(wParam), *reinterpret_cast<const COPYDATASTRUCT*>(lParam));
        return TRUE;
    case kHang:
        ::SetEvent(self->ready_);
        ::WaitForSingleObject(self->awake_, INFINITE);
        return 0;
    case WM_DESTROY:
        ::PostQuitMessage(0);
        return 0;
    default:
        return ::DefWindowProcW(window, message, wParam, lParam);
    }
}

void PeerWindow::Take(HWND sender, const COPYDATASTRUCT& data) {
    WireMessage wire;
    wire.sender = sender;
    wire.number = data.dwData;
    wire.bytes = data.cbData;
    wire.text.assign(static_cast<const char*>(data.lpData), data.cbData);
    wire.terminated = !wire.text.empty() && wire.text.back() == '\0';
    if (wire.terminated) {
        wire.text.pop_back();
    }
    wire_.Add(wire);
    if (wire.number == 0) {
        messages_.Add(wire.text);
        return;
    }
    std::string& joined = parts_[wire.number];
    joined += wire.text.substr(std::string("%pre_nbmsdk%").size());
    const std::string mark = "%end_flag%";
    if (joined.size() > mark.size() && joined.compare(joined.size() - mark.size(), mark.size(), mark) == 0) {
        messages_.Add(joined.substr(0, joined.size() - mark.size()));
        parts_.erase(wire.number);
    }
}

void PeerWindow::Hang() {
    ::ResetEvent(awake_);
    ::ResetEvent(ready_);
    ::PostMessageW(window_, kHang, 0, 0);
    ::WaitForSingleObject(ready_, INFINITE);
}

void PeerWindow::Wake() {
    ::SetEvent(awake_);
}

HWND PeerWindow::FindServer() {
    HWND server = nullptr;
    WaitFor([&server] {
        server = ::FindWindowW(kServerName, kServerName);
        return server != nullptr;
    });
    return server;
}

bool PeerWindow::WaitForNoServer() {
    return WaitFor([] { return ::FindWindowW(kServerName, kServerName) == nullptr; });
}

bool PeerWindow::SendRaw(HWND server, ULONG_PTR number, const char* text, std::size_t bytes) {
    COPYDATASTRUCT data{};
    data.dwData = number;
    data.cbData = static_cast<DWORD>(bytes);
    data.lpData = const_cast<char*>(text);
    return ::SendMessageTimeoutW(server, WM_COPYDATA, 0, reinterpret_cast<LPARAM>(&data), SMTO_NORMAL, 5000, nullptr) !=
           0;
}

bool PeerWindow::Send(std::string_view message) {
    const HWND server = FindServer();
    if (message.size() < 1024) {
        return SendRaw(server, 0, std::string(message).c_str(), message.size() + 1);
    }
    const ULONG_PTR number = ++number_;
    for (; message.size() > 1011; message.remove_prefix(1011)) {
        const std::string text = "%pre_nbmsdk%" + std::string(message.substr(0, 1011));
        if (!SendRaw(server, number, text.c_str(), text.size() + 1)) {
            return false;
        }
    }
    const std::string text = "%pre_nbmsdk%" + std::string(message) + "%end_flag%";
    return SendRaw(server, number, text.c_str(), text.size() + 1);
}
