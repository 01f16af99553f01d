#pragma once

/// The interface through which the channel thread drives the task. No object is deleted through it, so it has no
/// virtual destructor.
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
    /// Logs a printf-style line. A line of more than 1023 bytes is truncated. Never throws. `format` must not be
    /// foreign text.
    virtual void Log(const char* format, ...) = 0;

protected:
    ~IProcessMessage() = default;
};
