#include "Outlook/Business/Meeting.h"

#include "Outlook/Business/MeetingJson.h"
#include "channel/CMessageTask.h"
#include "channel/ChannelGlobals.h"
#include "channel/uisdk_protocol.h"
#include "support/LogLine.h"
#include "support/Text.h"

#include <new>
#include <utility>

namespace {

constexpr const wchar_t* kSource = L"Business/Meeting";

// The host part of the URI that launches the client.
constexpr const wchar_t* kClientHost = L"meeting";

// Deliberate: ShellExecuteW documents success only above 32, but 32 itself is not logged as a failure. The result
// decides about nothing but that log line.
constexpr INT_PTR kLowestUnloggedLaunch = 32;
constexpr int32_t kClientMissing = 2; // the channel's result when the client has no window

CommandFields ToFields(const ActionData& action) {
    CommandFields fields;
    fields.cmd = action.cmd;
    fields.subject = ToUtf8(action.subject);
    fields.confId = ToUtf8(action.confId);
    fields.confOutlookId = ToUtf8(action.confOutlookId);
    fields.startTime = action.startTime;
    fields.endTime = action.endTime;
    fields.centerX = action.centerX;
    fields.centerY = action.centerY;
    return fields;
}

NotifyData ToRecord(const NotificationFields& fields) {
    NotifyData record;
    record.type = fields.type;
    record.subject = ToWide(fields.subject);
    record.url = ToWide(fields.url);
    record.confId = ToWide(fields.confId);
    record.confOutlookId = ToWide(fields.confOutlookId);
    record.contents = ToWide(fields.contents);
    record.startTime = fields.startTime;
    record.endTime = fields.endTime;
    record.code = fields.code;
    record.message = ToWide(fields.message);
    return record;
}

template <class Body>
HRESULT Guard(Body&& body) noexcept {
    try {
        return body();
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    } catch (...) {
        return E_UNEXPECTED;
    }
}

} // namespace

// Never destroyed: at process exit the channel thread may still deliver a notification, and the exit must not wait for
// it.
Meeting& Meeting::GetInstance() {
    static Meeting& instance = *new Meeting;
    return instance;
}

HRESULT Meeting::Init(NotifyCallback callback) noexcept {
    return Guard([&] {
        auto replaced = callback ? std::make_shared<const NotifyCallback>(std::move(callback)) : nullptr;
        // The result is not needed: the send functions report a channel that is not running.
        uisdk_protocol_start(&Meeting::ReceiveTrampoline, &Meeting::logOutput, "");
        MC_Lock hold(&callbackLock_);
        callback_.swap(replaced);
        return S_OK;
    });
}

HRESULT Meeting::OnAction(const ActionData& action) noexcept {
    return Guard([&] { return SendCommand(action); });
}

bool Meeting::IsClientConnected() noexcept {
    return g_messageTask != nullptr && g_messageTask->IsConnected();
}

HRESULT Meeting::SendCommand(const ActionData& action) {
    const std::string text = WriteCommand(ToFields(action));
    LogLine(kSource, L"Meeting::OnAction").Info() << L"Data: " << text;
    // Deliberate: only a missing client changes the flow. Every other result, also a failure, counts as done.
    if (uisdk_protocol_send(text.c_str()) != kClientMissing) {
        return S_OK;
    }
    LaunchClient();
    return action.cmd == static_cast<int32_t>(ActionType::LaunchClient) ? S_OK : kClientStarting;
}

void Meeting::LaunchClient() const {
    const std::wstring uri = std::wstring(L"quorvex://") + kClientHost + L"/h5page?page=launch";
    const HINSTANCE instance = launcher_(nullptr, L"open", uri.c_str(), L"", L"", SW_SHOW);
    const auto result = reinterpret_cast<INT_PTR>(instance);
    if (result < kLowestUnloggedLaunch) {
        LogLine(kSource, L"Meeting::OnAction").Error() << L"ShellExecute fail: " << result;
    }
}

std::shared_ptr<const NotifyCallback> Meeting::Callback() {
    MC_Lock hold(&callbackLock_);
    return callback_;
}

void Meeting::OnRecvMsg(const std::string& text) {
    const auto callback = Callback();
    if (!callback) {
        LogLine(kSource, L"Meeting::OnRecvMsg").Error() << L"notify callback not set.";
        return;
    }
    if (text == kDisconnectedText || text.empty()) {
        return;
    }
    LogLine(kSource, L"Meeting::OnRecvMsg").Info() << text;
    NotificationFields fields;
    std::string error;
    if (!ReadNotification(text, fields, error)) {
        LogLine(kSource, L"Meeting::OnRecvMsg").Error() << error;
        return;
    }
    (*callback)(ToRecord(fields));
}

void Meeting::ReceiveTrampoline(const char* text) noexcept {
    if (text == nullptr) {
        return;
    }
    try {
        GetInstance().OnRecvMsg(text);
    } catch (...) {
        // Exhausted memory or a throwing callback loses this notification. The channel thread goes on.
    }
}

void Meeting::logOutput(const char* text) noexcept {
    if (text != nullptr) {
        LogLine(kSource, L"Meeting::logOutput").Debug() << text;
    }
}
