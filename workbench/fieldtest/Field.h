#pragma once

#include "workbench/fieldtest/Console.h"
#include "workbench/fieldtest/Host.h"
#include "workbench/fieldtest/Journal.h"
#include "workbench/fieldtest/Report.h"

#include "Outlook/AddIns/Language.h"
#include "doctor/LogText.h"
#include "doctor/WindowsMachine.h"
#include "workbench/client/ClientProcess.h"
#include "workbench/host/DialogResponder.h"

#include <json/value.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace fieldtest {

struct Options {
    std::filesystem::path output;  ///< folder of the report
    std::filesystem::path client;  ///< the stand-in client's program
    std::filesystem::path journal; ///< file
    unsigned personSeconds = 300;  ///< how long a step waits for the person
    unsigned machineSeconds = 20;  ///< how long it waits for Outlook, the add-in and the client
};

/// Ends a step with a result.
struct StepEnd {
    Outcome outcome;
};

/// Everything that the steps share. One thread, in a single-threaded apartment.
class Field {
public:
    explicit Field(Options given);

    const Options options;
    Console console;
    doctor::WindowsMachine machine;
    Journal journal;
    Report report;
    const std::string subject; ///< of the test's appointments, different in each run
    const std::filesystem::path transcript;

    // --- Outlook ---
    IDispatchPtr application; ///< null while Outlook does not run; no other object outlives a step
    DWORD outlook = 0;        ///< process id
    bool FindOutlook();
    bool AddInConnected() const;
    std::wstring ModulePath() const; ///< empty when it is not loaded
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
    void Order(const std::string& order);
    /// The next command. @throws StepEnd when none comes or when it is another one.
    Json::Value AwaitCommand(int number, unsigned seconds);

    // --- The person ---
    /// Shows what the step tells the person, once. Each wait does so first: only now the step is ready to see it.
    void Tell();
    std::string prompt; ///< of this step; empty once it has been shown

    // --- Waits. @throws StepEnd when nothing comes or the person skips the step ---
    void AwaitPerson(const std::function<bool()>& holds, const std::string& what) {
        Await(holds, what, options.personSeconds);
    }
    void AwaitMachine(const std::function<bool()>& holds, const std::string& what) {
        Await(holds, what, options.machineSeconds);
    }

    /// Takes everything back. Told to the person.
    void Restore();

private:
    void Await(const std::function<bool()>& holds, const std::string& what, unsigned seconds);
};

struct Step {
    const char* id;
    const char* told;                 ///< to the person
    const char* points;               ///< numbers of the open points that it may answer
    std::string (*run)(Field& field); ///< @return what was seen. @throws StepEnd, or an error that fails the step.
};
const std::vector<Step>& AllSteps();

/// Installs the client and runs all steps. @throws Stopped.
void RunSteps(Field& field);
/// Writes field-report.zip and shows the table.
void WriteReport(Field& field);

} // namespace fieldtest
