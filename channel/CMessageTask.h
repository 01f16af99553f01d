#pragma once

#include "channel/IProcessMessage.h"
#include "channel/Segments.h"
#include "channel/uisdk_protocol.h"
#include "support/MC_Critical_Section.h"

#include <windows.h>

#include <atomic>
#include <cstdarg>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <string_view>

/// Handed to the receive callback while the client's window is missing, about every 4 seconds.
inline constexpr const char* kDisconnectedText = "NBM_NOTIFY_ID_SDK_DISCONNECTED";

/// Carries text messages between this process's hidden window and the client's by WM_COPYDATA. There is at most one
/// task. It is shared by its window thread, so that a window that outlives `Delete` never meets a freed task.
class CMessageTask final : public IProcessMessage {
public:
    /// Creates the single task and its window thread, or gives the existing one. The name is accepted and not used.
    /// @return null when there is none and a callback is null, or when the thread could not be created. The log
    /// callback stays set for good. Calls of `Init` and `Delete` come from one thread.
    static CMessageTask* Init(UisdkReceiveCallback receive, UisdkLogCallback log, const char* name);

    /// Takes the single task away and closes its window, without waiting for its thread.
    static void Delete();

    /// Queues a text. @return 0 queued, 1 empty, 2 no client window. Any thread.
    int32_t SendCmdData(std::string text);
    /// Sends at once, up to 3000 ms for each piece. @return 0, 2 no client window, -1 no own window or send failed.
    int32_t SendCmdDataDirect(const std::string& text);
    /// Puts one message on the wire to the stored client window. @return 0 or -1.
    int32_t SendData(const std::string& text);
    /// Joins one segment body; a complete message goes to the receive queue. Window thread only.
    void PushRevSegMessage(std::string_view body, uint32_t number);

    void ProcessSendQueue() override;
    void ProcessRecvQueue() override;
    bool IsConnected() override;
    void OnChannelStop() override {}
    void Log(const char* format, ...) override;

    /// The same log without a task. Before the first `Init` it goes nowhere.
    static void WriteLog(const char* format, ...) noexcept;

    CMessageTask(const CMessageTask&) = delete;
    CMessageTask& operator=(const CMessageTask&) = delete;
    ~CMessageTask() = default;

private:
    struct Shared;

    CMessageTask() = default;
    static Shared& State();
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
    // Platform critical sections: at process exit a killed thread may leave one taken, which must not hang the exit.
    MC_Critical_Section sendLock_{true};
    MC_Critical_Section receiveLock_{true};
    std::atomic<bool> stopping_{false};
    std::atomic<DWORD> windowThread_{0};
    uint32_t missedPeer_ = 0; // ticks without the client's window; channel thread only
};
