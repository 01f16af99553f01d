#pragma once

#include "channel/Callbacks.h"

#include <cstdint>

/// The channel's interface inside the module: it carries opaque text messages between the hidden windows of the add-in
/// and of the meeting client. Texts are zero-terminated UTF-8. One thread calls `uisdk_protocol_start` and
/// `uisdk_protocol_stop`. Any thread may call the two send functions, but only one thread at a time. No function
/// throws.

/// Starts the channel. @return 0 when started or already running (the first callbacks stay), 1 when a callback is
/// null, -1 when it could not be created.
int32_t uisdk_protocol_start(UisdkReceiveCallback receive, UisdkLogCallback log, const char* name);

/// Queues a text for the next tick. Never waits for the client.
/// @return 0 queued, 1 null or empty text, 2 the client's window does not exist, -1 not started.
int32_t uisdk_protocol_send(const char* text);

/// Sends a text at once on the calling thread, up to 3000 ms for each piece.
/// @return 0 sent, 2 the client's window does not exist, -1 not started, null or empty text, own window missing or
/// send failed.
int32_t uisdk_protocol_send_direct(const char* text);

/// Sends up to 15 waiting messages, then ends the channel, which can be started again. @return 0.
int32_t uisdk_protocol_stop();
