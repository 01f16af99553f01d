#include "channel/uisdk_protocol.h"

#include "channel/CMessageTask.h"
#include "channel/CWindowChannel.h"
#include "channel/ChannelGlobals.h"

#include <windows.h>

#include <memory>
#include <string>

namespace {

constexpr uint32_t kStopWaitMs = 5000;

template <class Body>
int32_t GuardCall(int32_t failure, Body&& body) noexcept {
    try {
        return body();
    } catch (...) {
        return failure;
    }
}

/// The add-in never stops the channel's threads, so the module must stay loaded until the process ends.
bool PinModule() {
    HMODULE module = nullptr;
    return ::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                                reinterpret_cast<LPCWSTR>(&uisdk_protocol_start), &module) != 0;
}

/// @return the single channel, created on first request.
CWindowChannel* CreateChannel() {
    if (g_channelWnd == nullptr) {
        g_channelWnd = new CWindowChannel(g_messageTask); // freed by uisdk_protocol_stop
    }
    return g_channelWnd;
}

void DeleteTask() noexcept {
    GuardCall(0, [] {
        CMessageTask::Delete();
        return 0;
    });
    g_messageTask = nullptr;
}

int32_t Start(UisdkReceiveCallback receive, UisdkLogCallback log, const char* name) {
    if (!PinModule()) {
        return -1;
    }
    g_messageTask = CMessageTask::Init(receive, log, name);
    if (g_messageTask == nullptr) {
        return -1;
    }
    const int ret = CreateChannel()->Start() ? 0 : -1;
    g_messageTask->Log("uisdk_protocol_start CreateChannel ret=%d", ret);
    return 0;
}

bool IsStarted() {
    return g_messageTask != nullptr && g_channelWnd != nullptr;
}

bool IsEmpty(const char* text) {
    return text == nullptr || *text == '\0';
}

} // namespace

int32_t uisdk_protocol_start(UisdkReceiveCallback receive, UisdkLogCallback log, const char* name) {
    if (receive == nullptr || log == nullptr) {
        return 1;
    }
    if (g_messageTask != nullptr || g_channelWnd != nullptr) {
        return 0;
    }
    const int32_t result = GuardCall(-1, [&] { return Start(receive, log, name); });
    if (result != 0) {
        DeleteTask(); // A half-built channel would count as started.
    }
    return result;
}

int32_t uisdk_protocol_send(const char* text) {
    if (!IsStarted()) {
        CMessageTask::WriteLog("uisdk_protocol_send failed, g_messageTask or g_channelWnd is nullptr");
        return -1;
    }
    if (IsEmpty(text)) {
        g_messageTask->Log("uisdk_protocol_send failed, data is nullptr or empty");
        return 1;
    }
    const int32_t ret = GuardCall(-1, [&] { return g_messageTask->SendCmdData(text); });
    g_messageTask->Log("uisdk_protocol_send ret = %d", static_cast<int>(ret));
    return ret;
}

int32_t uisdk_protocol_send_direct(const char* text) {
    if (!IsStarted()) {
        CMessageTask::WriteLog("uisdk_protocol_send_direct failed, g_messageTask or g_channelWnd is nullptr");
        return -1;
    }
    if (IsEmpty(text)) {
        // Deliberate: -1 here, but 1 in the queued send. Both values are part of the interface.
        g_messageTask->Log("uisdk_protocol_send_direct failed, data is nullptr or empty");
        return -1;
    }
    const int32_t ret = GuardCall(-1, [&] { return g_messageTask->SendCmdDataDirect(text); });
    g_messageTask->Log("uisdk_protocol_send_direct ret = %d", static_cast<int>(ret));
    return ret;
}

int32_t uisdk_protocol_stop() {
    CMessageTask::WriteLog("uisdk_protocol_stop start");
    if (g_channelWnd != nullptr) {
        const int ret = g_channelWnd->Stop(kStopWaitMs) ? 0 : -1;
        CMessageTask::WriteLog("uisdk_protocol_stop CloseChannel ret=%d", ret);
        delete g_channelWnd;
        g_channelWnd = nullptr;
    }
    if (g_messageTask != nullptr) {
        DeleteTask();
    }
    return 0;
}
