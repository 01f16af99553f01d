#pragma once

#include "workbench/verify/core/LogTail.h"
#include "workbench/verify/core/Process.h"
#include "workbench/verify/soak/MessageFlow.h"

#include "workbench/client/ClientProcess.h"

#include <atomic>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The two ends of the channel as the soak run sees them.
namespace verify {

/// The client's process, one life after the other, and what each writes into its transcript.
class ClientSide {
public:
    ClientSide(MessageFlow& commands, MessageFlow& notifications);
    ~ClientSide();
    ClientSide(const ClientSide&) = delete;
    ClientSide& operator=(const ClientSide&) = delete;

    bool Alive() const { return process_ && process_->IsRunning(); }
    bool TakesOrders() const { return Alive() && !hanging_; }
    bool TakesCommands() const { return TakesOrders() && !hidden_; }
    bool Hanging() const { return hanging_; }

    /// @throws std::runtime_error when it does not start.
    void Start();
    /// @return whether it was carried out.
    bool Order(const std::string& order);
    void Hang(unsigned milliseconds);
    void Hide();
    void Show();
    /// Ends it in an orderly way, or at once. @return false when it had to be forced.
    bool Quit();
    void Kill();
    /// To be called after `Quit` or `Kill`, when everything has been read.
    void Forget();

    /// Takes in what the transcript got. It tells of the end of a hang.
    void Read();
    /// Takes in all that it has sent so far. @return false when that cannot be known now.
    bool ReadAllSent();
    /// A command of several segments may have been given up in the middle.
    void MayBeTorn() { tornPossible_ = true; }

    std::size_t starts = 0;
    std::size_t kills = 0;
    std::size_t hangs = 0;
    std::size_t torn = 0;            // messages whose end was never sent
    std::size_t tornBytes = 0;       // of them, at most
    std::size_t unacknowledged = 0;  // notifications that the add-in's window did not take in time
    std::vector<std::string> faults; // what the client held against the wire format

private:
    void Take(const meeting_client::TranscriptEntry& entry);

    MessageFlow& commands_;
    MessageFlow& notifications_;
    std::wstring transcript_;
    std::unique_ptr<meeting_client::ClientProcess> process_;
    std::optional<LineTail> tail_;
    bool hanging_ = false;
    bool hidden_ = false;
    bool tornPossible_ = false;
};

/// Feels, on a thread of its own, whether the client's channel window answers: a sender that has waited too long gives
/// a message up, which is a loss of the channel only while the client is quick. It also notices when this thread
/// itself does not run, on a machine with too much to do.
class Pulse {
public:
    /// Whether there was no answer for long since the last call, or is none now.
    bool WasSlow() {
        const bool late = IsLate();
        return slow_.exchange(false) || late;
    }

private:
    using Clock = std::chrono::steady_clock;
    void Feel() noexcept;
    bool IsLate() const;

    std::atomic<bool> slow_{false};
    std::atomic<Clock::time_point> beat_ = Clock::now();                // the last question to the window
    Ticker ticker_{std::chrono::milliseconds(100), [this] { Feel(); }}; // last: it uses the others
};

/// Follows the add-in's own log: which commands the channel accepted, and which notifications came out of it.
class AddinLog {
public:
    AddinLog(MessageFlow& commands, MessageFlow& notifications);

    void Read();

    std::size_t refused = 0; // commands that found no client
    std::size_t errors = 0;  // lines of that level
    std::size_t warnings = 0;

private:
    void TakeEntry(const AddinLogLine& line);
    void TakeResult(std::string_view text);

    MessageFlow& commands_;
    MessageFlow& notifications_;
    AddinLogTail tail_;
    std::string command_; // written on several lines
    bool collecting_ = false;
    bool hasCommand_ = false;
    bool launched_ = false; // the command found no client, and the add-in tried to start it
};

} // namespace verify
