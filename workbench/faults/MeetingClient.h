#pragma once

#include <windows.h>

#include <cstddef>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace faults {

/// The meeting client's end of the channel: its hidden window, here on a thread of this process. Once there it stays.
class MeetingClient {
public:
    /// The process's client, started on first use.
    static MeetingClient& Start();
    /// Null when it was not started.
    static MeetingClient* Running();

    /// The commands that came since the last call; segments are told one by one.
    std::vector<std::string> Take();
    bool Has(std::string_view text);

    /// Whether the add-in's window is there.
    static bool HasServer();
    /// Sends to it. @return false when there is none.
    static bool Notify(std::string_view json);

    /// Sends the end of the last message in segments once more: one of which a segment was lost waits for it in the
    /// add-in, by the rules of the channel.
    static void EndSegments();

private:
    MeetingClient();
    void Pump();
    static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

    std::mutex lock_;
    std::vector<std::string> commands_;
    HANDLE ready_;
    std::thread thread_;
};

} // namespace faults
