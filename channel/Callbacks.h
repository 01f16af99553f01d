#pragma once

/// Called on the channel's thread once per tick, with the received text or with an empty text when none has arrived.
using UisdkReceiveCallback = void (*)(const char* text);
/// Called on any thread of the channel or of its caller with one log text.
using UisdkLogCallback = void (*)(const char* text);
