#pragma once

#include "workbench/client/TranscriptEntry.h"

#include "workbench/process/ChildProcess.h"

#include <chrono>
#include <cstddef>
#include <functional>
#include <ios>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace meeting_client {

struct ClientSettings {
    std::wstring program;                ///< the client's; empty: the one that `FindProgram` finds
    std::vector<std::wstring> arguments; ///< as of `meeting_client --help`; transcript and parent are added
    std::wstring transcript;             ///< empty: a new file in the temporary folder, deleted at the end
    /// A client that runs already, such as one that the launch URI started; 0: a new one is started. `transcript` is
    /// then the file that it was told to write, and it too ends with the object.
    DWORD attachTo = 0;
    bool waitForWindow = true; ///< start returns when the channel window is there
    std::chrono::milliseconds startLimit{20'000};
    /// Called again and again during each wait, such as to pump the messages of the calling thread.
    std::function<void()> whileWaiting;
};

struct OrderResult {
    bool done = false;
    std::string reason; ///< why not; empty when done
};

/// A meeting client process that lives no longer than this object, nor than the process that owns it. One thread.
class ClientProcess {
public:
    using Milliseconds = std::chrono::milliseconds;
    static constexpr Milliseconds kUsualLimit{10'000};

    /// Starts the client and waits until it takes orders, and as the settings say for its channel window.
    /// @throws std::runtime_error when it cannot be started or is not ready in time; no process is left then.
    explicit ClientProcess(ClientSettings settings = {});
    ~ClientProcess();

    ClientProcess(const ClientProcess&) = delete;
    ClientProcess& operator=(const ClientProcess&) = delete;

    /// Has an order carried out. Messages sent to windows of the calling thread are handled meanwhile.
    OrderResult Order(std::string_view order, Milliseconds limit = kUsualLimit);

    /// The client's channel window, null while it has none.
    HWND Window() const;

    /// The client's program beside the running one or in the build folder. @throws std::runtime_error when it is not
    /// there.
    static std::wstring FindProgram();
    /// The process of a client that takes orders, whoever started it; 0 when there is none.
    static DWORD FindRunning() noexcept;

    DWORD ProcessId() const noexcept { return process_ ? process_->Id() : 0; }
    bool IsRunning() const noexcept;
    bool WaitForEnd(Milliseconds limit = kUsualLimit) const;
    /// Nothing while it runs.
    std::optional<DWORD> ExitCode() const noexcept;

    /// Asks it to end and makes sure that it does. @return false when it had to be killed.
    bool Quit(Milliseconds limit = kUsualLimit);
    void Kill() noexcept;

    /// Everything that the client has written down so far.
    const std::vector<TranscriptEntry>& Transcript() const;
    /// Texts of the whole messages that came in ("in") or went out ("out").
    std::vector<std::string> Messages(std::string_view direction = "in") const;
    /// The first entry that fits; nothing when there is none within the limit.
    std::optional<TranscriptEntry> WaitForEntry(const std::function<bool(const TranscriptEntry&)>& fits,
                                                Milliseconds limit = kUsualLimit) const;

    bool WaitUntil(const std::function<bool()>& holds, Milliseconds limit) const;

private:
    void Launch();
    HWND OwnWindow(const wchar_t* name) const;

    ClientSettings settings_;
    bool deleteTranscript_ = false;
    std::optional<process::ChildProcess> process_;
    mutable std::vector<TranscriptEntry> entries_; // read so far
    mutable std::streamoff readUpTo_ = 0;          // always at the start of a line
};

} // namespace meeting_client
