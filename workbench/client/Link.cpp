#include "workbench/client/Link.h"

#include <cwchar>
#include <iterator>

namespace meeting_client {
namespace {

constexpr UINT kSendLimit = 3000; // ms for each WM_COPYDATA

bool IsAddinWindow(HWND window) {
    wchar_t name[64] = L"";
    return ::GetClassNameW(window, name, static_cast<int>(std::size(name))) > 0 && std::wcscmp(name, kAddinWindow) == 0;
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

Link::Link(Transcript& transcript, Events events, bool topLevel, std::uint32_t firstNumber)
    : transcript_(transcript), events_(std::move(events)), topLevel_(topLevel), lastNumber_(firstNumber - 1) {
    WNDCLASSEXW windowClass{};
    windowClass.cbSize = sizeof windowClass;
    windowClass.lpfnWndProc = &Link::WindowProc;
    windowClass.hInstance = ::GetModuleHandleW(nullptr);
    windowClass.lpszClassName = kClientWindow;
    ::RegisterClassExW(&windowClass); // a failure shows when the window is made
}

bool Link::Show() {
    if (window_) {
        return true;
    }
    window_.Reset(::CreateWindowExW(0, kClientWindow, kClientWindow, 0, 0, 0, 0, 0, topLevel_ ? nullptr : HWND_MESSAGE,
                                    nullptr, ::GetModuleHandleW(nullptr), this));
    transcript_.Note(window_ ? "channel window shown" : "channel window could not be made");
    return IsShown();
}

void Link::Hide() {
    if (window_) {
        window_.Reset();
        transcript_.Note("channel window hidden");
    }
}

// A message-only window is no child of the desktop, so a search by name alone need not find it.
HWND Link::FindAddin() noexcept {
    const HWND found = ::FindWindowExW(HWND_MESSAGE, nullptr, kAddinWindow, kAddinWindow);
    return found ? found : ::FindWindowW(kAddinWindow, kAddinWindow);
}

std::string Link::Send(std::string_view message, std::size_t most) {
    const bool segmented = message.size() > 1023;
    if (segmented && ++lastNumber_ == 0) {
        lastNumber_ = 1;
    }
    std::size_t sent = 0;
    std::string result = "ok";
    for (const Piece& piece : CutMessage(message, lastNumber_)) {
        if (sent++ == most) {
            result = "torn after " + std::to_string(most) + " segments";
            break;
        }
        result = SendRaw(piece.number, piece.text.c_str(), piece.text.size() + 1);
        if (result != "ok") {
            break;
        }
    }
    messagesOut_ += result == "ok" ? 1 : 0;
    RecordMessage("out", message, result);
    return result;
}

std::string Link::SendRaw(std::uint64_t number, const char* bytes, std::size_t size) {
    std::string result = "ok";
    const HWND addin = FindAddin();
    if (!addin) {
        result = "the add-in's window is not there";
    } else {
        COPYDATASTRUCT data{};
        data.dwData = static_cast<ULONG_PTR>(number);
        data.cbData = static_cast<DWORD>(size);
        data.lpData = const_cast<char*>(bytes); // the structure serves both directions; the receiver gets a copy
        DWORD_PTR answer = 0;
        ::SetLastError(ERROR_SUCCESS);
        // Blocked, or an order that comes meanwhile would be carried out in here, and what it sends be written down
        // before this.
        if (!::SendMessageTimeoutW(addin, WM_COPYDATA, reinterpret_cast<WPARAM>(window_.Get()),
                                   reinterpret_cast<LPARAM>(&data), SMTO_BLOCK | SMTO_ABORTIFHUNG, kSendLimit,
                                   &answer)) {
            const DWORD error = ::GetLastError();
            result = "not taken: error " + std::to_string(error);
        }
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

void Link::Receive(HWND sender, const COPYDATASTRUCT& data) {
    ++copyDataIn_;
    const auto* bytes = static_cast<const char*>(data.lpData);
    transcript_.Write(CopyDataEntry("in", data.dwData, bytes, data.cbData));
    if (!IsAddinWindow(sender)) {
        transcript_.Fault("wParam is not the add-in's window");
    }
    const PieceJoiner::Result joined = joiner_.Take(data.dwData, bytes, data.cbData);
    for (const std::string& fault : joined.faults) {
        transcript_.Fault(fault);
    }
    if (!joined.message.empty()) {
        ++messagesIn_;
        RecordMessage("in", joined.message, "");
    }
    events_.copyData(copyDataIn_);
    if (!joined.message.empty()) {
        events_.message(messagesIn_, joined.message);
    }
}

LRESULT CALLBACK Link::WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) noexcept {
    if (message == WM_NCCREATE) {
        const auto* create = reinterpret_cast<const CREATESTRUCTW*>(lParam);
        ::SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(create->lpCreateParams));
    }
    auto* link = reinterpret_cast<Link*>(::GetWindowLongPtrW(window, GWLP_USERDATA));
    if (message == WM_COPYDATA && link && lParam) {
        try {
            link->Receive(reinterpret_cast<HWND>(wParam), *reinterpret_cast<const COPYDATASTRUCT*>(lParam));
            return TRUE;
        } catch (...) {
            return FALSE;
        }
    }
    return ::DefWindowProcW(window, message, wParam, lParam);
}

} // namespace meeting_client
