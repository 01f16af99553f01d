#pragma once

#include "workbench/verify/core/LogTail.h"
#include "workbench/verify/core/Process.h"
#include "workbench/verify/soak/MessageFlow.h"

#include "workbench/client/ClientProcess.h"
#include "workbench/host/Pump.h"
#include "workbench/wire/Window.h"

#include <atomic>
#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

/// The two ends of the channel as the soak run sees them.
namespace verify {

/// The client's process, one life after the other, and what each writes into its transcript.
class ClientSide {
public:
    ClientSide(MessageFlow& commands, MessageFlow& notifications)
        : commands_(commands), notifications_(notifications) {}
    ~ClientSide() { Forget(); }
    ClientSide(const ClientSide&) = delete;
    ClientSide& operator=(const ClientSide&) = delete;

    bool Alive() const { return process_ && process_->IsRunning(); }
    bool TakesOrders() const { return Alive() && !hanging_; }
    bool Hanging() const { return hanging_; }
    bool TakesCommands() const { return TakesOrders() && process_->Window() != nullptr; }

    /// @throws std::runtime_error when it does not start.
    void Start() {
        Forget();
        transcript_ = std::filesystem::temp_directory_path() / NewName();
        meeting_client::ClientSettings settings;
        settings.transcript = transcript_;
        // Each client goes on far above the numbers of the one before, which may have been killed within a message: the
        // add-in keeps the parts and would put them before the next message of that number.
        const std::uint64_t firstNumber = starts * 100'000 % UINT32_MAX + 1;
        settings.arguments = {L"--max-seconds", L"7200", L"--first-number", std::to_wstring(firstNumber)};
        settings.startLimit = kPatience;
        settings.whileWaiting = [] { workbench::PumpFor(1); };
        process_.emplace(std::move(settings));
        read_ = 0;
        hanging_ = tornPossible_ = false;
        ++starts;
    }
    /// @return whether it was carried out.
    bool Order(const std::string& order) { return TakesOrders() && process_->Order(order, kPatience).done; }
    void Hang(unsigned milliseconds) {
        hanging_ = Order("hang " + std::to_string(milliseconds)) || hanging_;
        hangs += hanging_ ? 1 : 0;
    }
    /// Ends it in an orderly way, or at once. @return false when it had to be forced.
    bool Quit() { return process_->Quit(kPatience); }
    void Kill() {
        process_->Kill();
        ++kills;
    }
    /// To be called after `Quit` or `Kill`, when everything has been read.
    void Forget() {
        process_.reset();
        std::error_code ignored; // there may be none
        std::filesystem::remove(transcript_, ignored);
    }

    /// Takes in what the transcript got. It tells of the end of a hang.
    void Read() {
        const auto entries = process_ ? process_->Transcript() : std::vector<meeting_client::TranscriptEntry>();
        for (; read_ < entries.size(); ++read_) {
            Take(entries[read_]);
        }
    }
    /// Takes in all that it has sent so far. @return false when that cannot be known now.
    bool ReadAllSent() {
        const bool known =
            !Alive() || Order("status"); // an order is carried out between two messages, never within one
        Read();
        return known;
    }
    /// A command of several segments may have been given up in the middle.
    void MayBeTorn() { tornPossible_ = true; }

    std::size_t starts = 0;
    std::size_t kills = 0;
    std::size_t hangs = 0;
    std::size_t torn = 0;            // messages whose end was never sent
    std::size_t tornBytes = 0;       // of them, and of those that the add-in did not take in time
    std::vector<std::string> faults; // what the client held against the wire format

private:
    static constexpr std::chrono::minutes kPatience{2}; // with a machine that has too much to do; no client needs it

    void Take(const meeting_client::TranscriptEntry& entry) {
        if (entry.kind == "fault" && !tornPossible_) {
            faults.push_back(entry.bytes);
        } else if (entry.kind == "note" && entry.bytes == "hangs no more") {
            hanging_ = false;
        } else if (entry.kind == "message" && entry.direction == "in") {
            commands_.Got(entry.bytes);
        } else if (entry.kind == "message" && entry.result == "ok") {
            notifications_.Sent(entry.bytes);
        } else if (entry.kind == "message" && entry.result.starts_with("not taken")) {
            notifications_.Sent(entry.bytes, true);
            tornBytes += entry.bytes.size();
        } else if (entry.kind == "message" && entry.result.starts_with("torn")) {
            ++torn;
            tornBytes += entry.bytes.size();
        }
    }

    MessageFlow& commands_;
    MessageFlow& notifications_;
    std::filesystem::path transcript_;
    std::optional<meeting_client::ClientProcess> process_;
    std::size_t read_ = 0; // entries
    bool hanging_ = false;
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
    // A third of the channel's time limit. A message that reaches this limit is noticed even when this thread is late.
    static constexpr std::chrono::milliseconds kSlow{1000};

    bool IsLate() const { return Clock::now() - beat_.load() > kSlow; }
    void Feel() noexcept {
        constexpr UINT kAnswerTime = 5000; // ms; the next question follows
        slow_ = slow_ || IsLate();
        beat_ = Clock::now();
        if (const HWND window = wire::Find(wire::kClientWindow)) {
            ::SendMessageTimeoutW(window, WM_NULL, 0, 0, SMTO_NORMAL, kAnswerTime, nullptr);
        }
    }

    std::atomic<bool> slow_{false};
    std::atomic<Clock::time_point> beat_ = Clock::now();                // the last question to the window
    Ticker ticker_{std::chrono::milliseconds(100), [this] { Feel(); }}; // last: it uses the others
};

/// Follows the add-in's own log: which commands the channel accepted, and which notifications came out of it.
class AddinLog {
public:
    AddinLog(MessageFlow& commands, MessageFlow& notifications) : commands_(commands), notifications_(notifications) {}

    void Read() {
        for (const AddinLogLine& line : tail_.Read()) {
            if (line.hasHead) {
                TakeEntry(line);
            } else if (collecting_) {
                *command_ += line.text;
            }
        }
    }

    std::size_t refused = 0; // commands that found no client

private:
    void TakeEntry(const AddinLogLine& line) {
        constexpr std::string_view kData = "Data: ";
        constexpr std::string_view kClientStarting = "a0080001";
        collecting_ = line.function == "Meeting::OnAction" && line.text.starts_with(kData);
        if (collecting_) {
            command_ = line.text.substr(kData.size());
            launched_ = false;
        } else if (line.function == "Meeting::OnAction" && line.text.starts_with("ShellExecute fail")) {
            launched_ = true; // no program owns the launch URI here, so that every launch leaves this line
        } else if (line.function == "Meeting::OnRecvMsg" && line.level == "Inf") {
            notifications_.Got(line.text);
        } else if (line.function == "AddIn::ActionTask" && line.text.starts_with("action result: ") && command_) {
            if (launched_ || line.text.find(kClientStarting) != std::string::npos) {
                ++refused;
            } else {
                commands_.Sent(*command_);
            }
            command_.reset();
        }
    }

    MessageFlow& commands_;
    MessageFlow& notifications_;
    AddinLogTail tail_;
    std::optional<std::string> command_; // of which the result is not known yet
    bool collecting_ = false;            // it is written on several lines
    bool launched_ = false;              // the command found no client, and the add-in tried to start it
};

} // namespace verify
