#pragma once

#include "Outlook/Business/AddinEventHandler.h"
#include "support/MC_Critical_Section.h"

#include <shellapi.h>

#include <memory>
#include <string>

/// The add-in's single link to the meeting client. It sends commands and receives notifications, both as JSON.
class Meeting final : public AddinEventHandler {
public:
    /// Result of `OnAction` for a command that was not delivered, because the client is only being started.
    static constexpr HRESULT kClientStarting = static_cast<HRESULT>(0xA0080001);

    using ShellLauncher = decltype(&::ShellExecuteW);

    static Meeting& GetInstance();

    HRESULT Init(NotifyCallback callback) noexcept override;
    HRESULT OnAction(const ActionData& action) noexcept override;
    bool IsClientConnected() noexcept override;

    /// Handles one text from the client. Channel thread.
    void OnRecvMsg(const std::string& text);

    /// Replaces the function that opens the client's URI, `ShellExecuteW` by default. A test observes the launch with
    /// it.
    void SetShellLauncher(ShellLauncher launcher) noexcept { launcher_ = launcher; }

private:
    Meeting() = default;

    static void ReceiveTrampoline(const char* text) noexcept;
    static void logOutput(const char* text) noexcept;
    HRESULT SendCommand(const ActionData& action);
    void LaunchClient() const;
    std::shared_ptr<const NotifyCallback> Callback();

    ShellLauncher launcher_ = &::ShellExecuteW;
    // The user-interface thread may replace it while the channel thread uses it. A reader copies the pointer under the
    // lock and calls after releasing the lock.
    std::shared_ptr<const NotifyCallback> callback_;
    MC_Critical_Section callbackLock_{true};
};
