#include "channel/ChannelGlobals.h"

CMessageTask* g_messageTask = nullptr;
CWindowChannel* g_channelWnd = nullptr;
std::atomic<UisdkLogCallback> g_logCallback{nullptr};
uint32_t g_lastTick = 0;

SharedTask& GetSharedTask() {
    static SharedTask& shared = *new SharedTask;
    return shared;
}
