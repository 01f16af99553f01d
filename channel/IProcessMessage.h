#pragma once

/// What the channel thread drives on each tick. The task's owner destroys it, never through this interface.
class IProcessMessage {
public:
    /// Sends at most one queued message.
    virtual void ProcessSendQueue() = 0;
    /// Delivers at most one received message.
    virtual void ProcessRecvQueue() = 0;
    /// True when the own and the client's window both live.
    virtual bool IsConnected() = 0;
    /// Called once when the channel thread ends.
    virtual void OnChannelStop() = 0;
    /// printf-style log line of at most 1023 bytes; a longer one is cut. Never throws. `format` is never foreign text.
    virtual void Log(const char* format, ...) = 0;

protected:
    ~IProcessMessage() = default;
};
