#pragma once

#include "Outlook/Business/Records.h"

#include <windows.h>

#include <functional>

/// Receives each notification from the meeting client. Called on the channel's thread. Its result is ignored.
using NotifyCallback = std::function<HRESULT(const NotifyData&)>;

/// The interface through which the add-in reaches the link to the meeting client.
class AddinEventHandler {
public:
    virtual ~AddinEventHandler() = default;

    /// Starts the link and replaces the notification callback. User-interface thread.
    virtual HRESULT Init(NotifyCallback callback) = 0;

    /// Sends one command and launches the client when it is not running. Never waits for the client. User-interface
    /// thread. @return S_OK, or 0xA0080001 when the client is being started and the user must log in first.
    virtual HRESULT OnAction(const ActionData& action) = 0;

    /// True when the channel's window and the client's window both exist. Only after `Init`.
    virtual bool IsClientConnected() = 0;
};
