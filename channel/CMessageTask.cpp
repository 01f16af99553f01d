#include "channel/CMessageTask.h"

#include "channel/ChannelGlobals.h"
#include "channel/Envelope.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <utility>

namespace {

constexpr const wchar_t* kPeerWindowName = L"NbmProxyOutlookClientWnd";
constexpr UINT kSendTimeoutMs = 3000;
constexpr uint32_t kMissedTicksToDisconnect = 200;
constexpr std::size_t kLogBuffer = 1024;

std::string TakeFront(std::deque<std::string>& queue, MC_Critical_Section& lock) {
    MC_Lock hold(&lock);
    if (queue.empty()) {
        return {};
    }
    std::string front = std::move(queue.front());
    queue.pop_front();
    return front;
}

} // namespace

CMessageTask* CMessageTask::Init(UisdkReceiveCallback receive, UisdkLogCallback log, const char* /*name*/) {
    if (const auto current = Current()) {
        return current.get();
    }
    if (receive == nullptr || log == nullptr) {
        return nullptr;
    }
    g_logCallback = log;
    const std::shared_ptr<CMessageTask> task(new CMessageTask); // the last owner frees it
    task->receive_ = receive;
    SharedTask& shared = GetSharedTask();
    {
        MC_Lock hold(&shared.lock);
        shared.task = task;
    }
    if (!StartWindowThread(task)) {
        MC_Lock hold(&shared.lock);
        shared.task.reset();
        return nullptr;
    }
    WriteLog("CMessageTask::Init successs");
    return task.get();
}

void CMessageTask::Delete() {
    std::shared_ptr<CMessageTask> task = Current();
    if (!task) {
        return;
    }
    WriteLog("CMessageTask::Delete start");
    task->DestoryMsgWind();
    SharedTask& shared = GetSharedTask();
    MC_Lock hold(&shared.lock);
    shared.task.reset(); // `task` keeps the object alive until the lock is released
}

std::shared_ptr<CMessageTask> CMessageTask::Current() {
    SharedTask& shared = GetSharedTask();
    MC_Lock hold(&shared.lock);
    return shared.task;
}

int32_t CMessageTask::SendCmdData(std::string text) {
    if (text.empty()) {
        Log("CMessageTask::Send failed, data is empty");
        return 1;
    }
    if (FindPeer() == nullptr) {
        Log("CMessageTask::SendCmdData failed, receive window is not exist");
        return 2;
    }
    MC_Lock hold(&sendLock_);
    sendQueue_.push_back(std::move(text));
    return 0;
}

int32_t CMessageTask::SendCmdDataDirect(const std::string& text) {
    if (LiveWindow() == nullptr) {
        Log("CMessageTask::SendCmdData send window is not exist");
        return -1;
    }
    if (FindPeer() == nullptr) {
        Log("CMessageTask::SendCmdData failed, receive window is not exist");
        return 2;
    }
    return SendData(text);
}

int32_t CMessageTask::SendData(const std::string& text) {
    PrintMsg(text);
    if (text.empty()) {
        return 0;
    }
    if (NeedsSegments(text)) {
        return SendSegments(text);
    }
    const int32_t result = SendPiece(text, 0, "CMessageTask::SendData SendMessageTimeout failed, ret = %d");
    Log("CMessageTask::SendData end");
    return result;
}

int32_t CMessageTask::SendSegments(const std::string& text) {
    const uint32_t number = sequence_.Take();
    SegmentSplitter splitter(text);
    int32_t result = 0;
    while (result == 0 && splitter.Next()) {
        Log("CMessageTask::SendData sno: %d", static_cast<int>(number));
        result = SendPiece(splitter.Text(), number,
                           "CMessageTask::SendData split message SendMessageTimeout failed, ret = %d");
    }
    Log("CMessageTask::SendData end, sno: %d", static_cast<int>(number));
    return result;
}

/// @param text has a terminating zero behind its last character.
/// @param failure printf text of the log line for a failed send, with one "%d".
int32_t CMessageTask::SendPiece(std::string_view text, uint32_t number, const char* failure) {
    COPYDATASTRUCT data{};
    data.dwData = number;
    data.cbData = static_cast<DWORD>(text.size() + 1);
    data.lpData = const_cast<char*>(text.data()); // the receiver only reads it
    const HWND own = ownWindow_;
    const LRESULT sent =
        ::SendMessageTimeoutW(peerWindow_, WM_COPYDATA, reinterpret_cast<WPARAM>(own), reinterpret_cast<LPARAM>(&data),
                              SMTO_BLOCK | SMTO_ABORTIFHUNG, kSendTimeoutMs, nullptr);
    if (sent != 0) {
        return 0;
    }
    const DWORD error = ::GetLastError();
    Log(failure, static_cast<int>(error));
    return -1;
}

HWND CMessageTask::FindPeer() {
    HWND peer = peerWindow_;
    if (!::IsWindow(peer)) {
        peer = ::FindWindowW(kPeerWindowName, kPeerWindowName);
        peerWindow_ = peer;
    }
    return peer;
}

void CMessageTask::PushRevSegMessage(std::string_view body, uint32_t number) {
    if (body.empty()) {
        return;
    }
    Log("CMessageTask::PushRevSegMessage sno: %d", static_cast<int>(number));
    std::optional<std::string> message = joiner_.Add(number, body);
    if (message) {
        Log("CMessageTask::PushRevSegMessage end, sno: %d", static_cast<int>(number));
        PushReceived(std::move(*message));
    }
}

void CMessageTask::PushReceived(std::string message) {
    MC_Lock hold(&receiveLock_);
    receiveQueue_.push_back(std::move(message));
}

void CMessageTask::ProcessSendQueue() {
    if (LiveWindow() == nullptr) {
        Log("CMessageTask::SendData send wnd not exist");
        return;
    }
    if (FindPeer() == nullptr) {
        // The send queue stays as it is: its messages wait for the client.
        if (++missedPeer_ >= kMissedTicksToDisconnect) {
            missedPeer_ = 0;
            if (receive_ != nullptr) {
                receive_(kDisconnectedText);
            }
        }
        return;
    }
    missedPeer_ = 0;
    SendData(TakeFront(sendQueue_, sendLock_));
}

void CMessageTask::ProcessRecvQueue() {
    const std::string text = TakeFront(receiveQueue_, receiveLock_);
    if (!text.empty() && text.size() <= kMaxWholeMessage) {
        PrintMsg(text);
    }
    // Deliberate: called on every tick, also with an empty text, which the receiver ignores.
    if (receive_ != nullptr) {
        receive_(text.c_str());
    }
}

bool CMessageTask::IsConnected() {
    return LiveWindow() != nullptr && ::IsWindow(peerWindow_);
}

void CMessageTask::PrintMsg(std::string_view message) {
    for (const EnvelopeKey& key : kEnvelopeKeys) {
        if (const auto found = FindEnvelope(message, key)) {
            const auto length = static_cast<int>(std::min(found->size(), kLogBuffer));
            Log(key.format, length, found->data()); // NOLINT(bugprone-suspicious-stringview-data-usage) %.*s
        }
    }
}

void CMessageTask::Log(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    PassLog(format, arguments);
    va_end(arguments);
}

void CMessageTask::WriteLog(const char* format, ...) noexcept {
    va_list arguments;
    va_start(arguments, format);
    PassLog(format, arguments);
    va_end(arguments);
}

void CMessageTask::PassLog(const char* format, va_list arguments) noexcept {
    const UisdkLogCallback log = g_logCallback;
    if (log == nullptr) {
        return;
    }
    std::array<char, kLogBuffer> buffer{};
    std::vsnprintf(buffer.data(), buffer.size(), format, arguments); // truncates a long line
    try {
        log(buffer.data());
    } catch (...) {
        // The line is lost. Logging never fails its caller.
    }
}
