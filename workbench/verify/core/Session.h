#pragma once

#include "workbench/host/DialogResponder.h"
#include "workbench/host/OutlookHost.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace verify {

/// One run of Outlook with the add-in, from its start to its end, and somebody who answers its dialogs. Main thread,
/// single-threaded apartment.
class Session {
public:
    /// @param module the add-in's file; empty: the built one.
    explicit Session(std::wstring module = {});
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    /// Outlook with a mailbox, an explorer and the loaded add-in. @throws std::runtime_error when it does not load.
    void Begin(const workbench::HostOptions& options = {}, const std::wstring& folder = L"Calendar");
    /// Begin, then OnConnection. @throws std::runtime_error when it fails.
    void Connect(const workbench::HostOptions& options = {});
    /// Ends Outlook, if it runs. @return a line for each thing that is left or was done wrongly.
    std::vector<std::string> End();

    bool Running() const { return host_ != nullptr; }
    workbench::OutlookHost& Host() const { return *host_; }
    workbench::AddInHost& AddIn() const { return *addIn_; }
    workbench::Ribbon& Explorer() const { return addIn_->Ribbon(workbench::Surface::Explorer); }
    workbench::Ribbon& Appointment() const { return addIn_->Ribbon(workbench::Surface::Appointment); }
    void CloseInspectors(std::size_t kept = 0) const;

    /// Dialogs are answered from now on, until `End`. To be called again now and then: a responder has many answers,
    /// but not endlessly many. @param choose an answer for each.
    void AnswerDialogs(const std::function<int()>& choose);
    std::uint64_t Dialogs() const { return dialogs_ + (responder_ ? responder_->Seen().size() : 0); }
    /// Called while a dialog is open.
    std::function<void()> whileDialogIsOpen;
    /// Told of each step of Outlook from the next `Begin` on.
    workbench::Observer observer;

private:
    const std::wstring module_;
    std::unique_ptr<workbench::OutlookHost> host_;
    workbench::AddInHost* addIn_ = nullptr;
    std::unique_ptr<workbench::DialogResponder> responder_;
    std::uint64_t dialogs_ = 0; // of earlier responders
};

} // namespace verify
