#pragma once

#include "channel/Callbacks.h"
#include "channel/IProcessMessage.h"
#include "channel/Segments.h"
#include "support/MC_Critical_Section.h"

#include <windows.h>

#include <atomic>
#include <cstdarg>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <string_view>

/// The receive callback gets this text after every 200 ticks in a row without the client's window.
inline constexpr const char* kDisconnectedText = "NBM_NOTIFY_ID_SDK_DISCONNECTED";

/// Carries text messages between this process's hidden window and the client's by WM_COPYDATA. At most one task
/// exists. Its window thread shares the ownership: after `Delete` the task lives until that thread has ended.
class CMessageTask final : public IProcessMessage {
public:
    /// Creates the single task and starts its window thread, or returns the existing task, whose callbacks stay. The
    /// name is accepted and not used. `Init` and `Delete` must be called from one thread.
    /// @return null when no task exists and a callback is null or the thread could not be started.
    static CMessageTask* Init(UisdkReceiveCallback receive, UisdkLogCallback log, const char* name);

    /// Drops the single task and posts WM_CLOSE to its window. Does not wait for the window thread. The log callback
    /// stays set.
    static void Delete();

    /// Queues a text. @return 0 queued, 1 empty, 2 no client window. Any thread.
    int32_t SendCmdData(std::string text);
    /// Sends on the calling thread and waits up to 3000 ms for each piece.
    /// @return 0 sent, 2 no client window, -1 no own window or send failed. Any thread.
    int32_t SendCmdDataDirect(const std::string& text);
    /// Sends to the stored client window without looking it up. An empty text is not sent.
    /// @return 0, or -1 when a piece failed; the pieces after it are not sent. Any thread.
    int32_t SendData(const std::string& text);
    /// Joins one segment body. A complete message goes to the receive queue. Window thread only.
    void PushRevSegMessage(std::string_view body, uint32_t number);

    void ProcessSendQueue() override;
    void ProcessRecvQueue() override;
    bool IsConnected() override;
    void OnChannelStop() override {}
    void Log(const char* format, ...) override;

    /// Writes the same log when no task exists. Lines before the first `Init` are lost.
    static void WriteLog(const char* format, ...) noexcept;

    CMessageTask(const CMessageTask&) = delete;
    CMessageTask& operator=(const CMessageTask&) = delete;
    ~CMessageTask() = default;

private:
    CMessageTask() = default;
    static std::shared_ptr<CMessageTask> Current();
    static std::shared_ptr<CMessageTask> OwnerOf(HWND window);
    static void PassLog(const char* format, va_list arguments) noexcept;

    static bool StartWindowThread(const std::shared_ptr<CMessageTask>& task);
    static unsigned __stdcall WindowThread(void* argument) noexcept;
    static LRESULT CALLBACK WndProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) noexcept;
    void MsgThreadProc() noexcept;
    void CreateWndAndMsg();
    int32_t CreateMsgWind();
    void DestoryMsgWind();
    void RemoveWindow() noexcept;
    HWND LiveWindow() const noexcept;
    void TakeCopyData(const COPYDATASTRUCT& data);

    HWND FindPeer();
    int32_t SendPiece(std::string_view text, uint32_t number, const char* failure);
    int32_t SendSegments(const std::string& text);
    void PrintMsg(std::string_view message);
    void PushReceived(std::string message);

    UisdkReceiveCallback receive_ = nullptr;
    std::deque<std::string> sendQueue_;
    std::deque<std::string> receiveQueue_;
    SegmentJoiner joiner_;
    SequenceCounter sequence_{1}; // the first segmented message carries 2
    std::atomic<HWND> ownWindow_{nullptr};
    std::atomic<HWND> peerWindow_{nullptr};
    // Not std::mutex: at process exit a killed thread may hold one of these, and only the platform's own critical
    // section is sure not to block the exit then.
    MC_Critical_Section sendLock_{true};
    MC_Critical_Section receiveLock_{true};
    std::atomic<bool> stopping_{false};
    std::atomic<DWORD> windowThread_{0};
    uint32_t missedPeer_ = 0; // ticks without the client's window; channel thread only
};
