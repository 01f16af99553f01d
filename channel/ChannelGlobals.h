#pragma once

#include "channel/CMessageTask.h"
#include "channel/CWindowChannel.h"

/// The running channel, or null. Written by `uisdk_protocol_start` and `uisdk_protocol_stop` only, read by their
/// thread. Plain pointers: at process exit nothing is to be destroyed while the channel's threads may still use it.
extern CMessageTask* g_messageTask;  // shared with its window thread, see CMessageTask
extern CWindowChannel* g_channelWnd; // freed by `uisdk_protocol_stop`
