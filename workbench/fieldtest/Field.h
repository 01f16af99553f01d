#pragma once

#include "workbench/fieldtest/Host.h"
#include "workbench/fieldtest/Report.h"

#include "Outlook/AddIns/Language.h"
#include "doctor/LogText.h"
#include "doctor/WindowsMachine.h"
#include "workbench/client/ClientProcess.h"
#include "workbench/host/DialogResponder.h"
#include "workbench/process/InputLines.h"

#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace fieldtest {

/// The person, or the system, wants the test to end now.
class Stopped : public std::runtime_error {
public:
    Stopped() : std::runtime_error("stopped") {}
};
/// Makes the current or next wait throw `Stopped`. Any thread.
void RequestStop() noexcept;

/// Ends a step with a result.
struct StepEnd {
    Outcome outcome;
};

void Say(const std::string& text); ///< to the person

/// Everything that the steps share. One thread, in a single-threaded apartment, which handles its messages during each
/// wait.
class Field {
public:
    unsigned personSeconds = 300; ///< how long a step waits for the person
    unsigned machineSeconds = 20; ///< how long it waits for Outlook, the add-in and the client

    doctor::WindowsMachine machine;
    Report report;
    const std::string subject = ///< of the test's appointments, different in each run
        "NEMBRA field test " + std::to_string(::GetTickCount64() % 1'000'000);

    // --- Outlook ---
    IDispatchPtr application; ///< null while Outlook does not run; no other object outlives a step
    DWORD outlook = 0;        ///< process id
    bool FindOutlook();
    bool AddInConnected() const;
    /// The open window of the appointment whose marker has this conference id.
    OpenItem FindOpen(const std::string& confId) const;
    /// Looks for the add-in's dialog with that text, in English or Chinese. It is then in `dialog`.
    bool FindDialog(const PerLanguage<const wchar_t*>& text);
    workbench::DialogSeen dialog;

    // --- The add-in's log, since this Outlook has loaded it ---
    std::vector<doctor::LogEntry> Log() const;
    /// Counts the entries of a method with that text. A line end in it stands for the end of the entry.
    std::size_t Logged(std::string_view method, std::string_view text) const;

    // --- The client ---
    std::unique_ptr<meeting_client::ClientProcess> client; ///< null until the add-in has started it
    std::size_t commandsSeen = 0;
    std::size_t notificationsSeen = 0;
    std::string confId;  ///< of the appointment that is stored
    std::string entryId; ///< of the same
    std::string draftId; ///< conference id of the appointment that is never stored
    std::string probeId; ///< of an appointment that the test itself has stored

    // --- The person ---
    /// Shows what the step tells the person, once. Each wait does so first: only now the step is ready to see it.
    void Tell();
    std::string prompt;                 ///< of this step; empty once it has been shown
    std::optional<std::string> entered; ///< what ended the last wait

    // --- Waits. @throws Stopped, also after the line "q" ---
    /// Waits until the condition holds or the person has entered a line. Shows that it waits. @return whether it holds.
    bool Wait(const std::function<bool()>& holds, unsigned seconds);
    /// @throws StepEnd when nothing comes or the person skips the step.
    void Await(const std::function<bool()>& holds, const std::string& what, unsigned seconds);
    void AwaitPerson(const std::function<bool()>& holds, const std::string& what) { Await(holds, what, personSeconds); }
    void AwaitMachine(const std::function<bool()>& holds, const std::string& what) {
        Await(holds, what, machineSeconds);
    }

private:
    process::InputLines input_;
};

/// Installs the client and runs all steps. @throws Stopped.
void RunSteps(Field& field);
/// Takes everything back. Told to the person.
void Restore(Field& field);

} // namespace fieldtest
