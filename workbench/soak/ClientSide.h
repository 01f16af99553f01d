#pragma once

#include "workbench/soak/MessageFlow.h"

#include "workbench/client/ClientProcess.h"
#include "workbench/gauges/LineTail.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace soak {

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
    std::optional<gauges::LineTail> tail_;
    bool hanging_ = false;
    bool hidden_ = false;
    bool tornPossible_ = false;
};

} // namespace soak
