#pragma once

#include "bench/AddInSession.h"
#include "support/Text.h"
#include "workbench/process/ChildProcess.h"
#include "workbench/process/OwnProgram.h"

#include <string>
#include <vector>

/// Samples: what can be measured only once in a process. Each runs in a fresh process of this program and prints one
/// line of numbers.
namespace bench {

/// A process that takes the sample of that name, "load-addin" and the like.
class SampleProcess {
public:
    explicit SampleProcess(const std::string& name)
        : process_(process::ProgramPath(), {L"--sample", ToWide(name)}, process::Streams::OutputRead) {}

    /// Waits for the end. @return the numbers it printed. @throws std::runtime_error when it has failed.
    std::vector<double> Take();

private:
    process::ChildProcess process_;
};

/// In the sample's process: prints its numbers.
void PrintNumbers(const std::vector<double>& numbers);

/// The module that a sample loads into its host.
enum class Subject {
    Nothing,
    Sleeper,  // threads that do nothing but sleep; started by the part that measures them
    Bare,     // a module with a COM class that does nothing
    Platform, // the same, and the calls into the platform that the add-in cannot avoid
    AddIn
};

struct LoadTimes {
    double load = 0;            // microseconds: LoadLibrary, DllGetClassObject, CreateInstance
    double connect = 0;         // microseconds: OnConnection, or the platform's calls; 0 for the bare class alone
    std::vector<double> stages; // of the platform's calls, microseconds
};

/// Loads the subject into the host as Outlook does. The add-in is connected after that and stays so.
LoadTimes Load(HostSession& session, Subject subject, const std::string& logPath);
/// A thread that lives as long as the process.
void StartThread(LPTHREAD_START_ROUTINE body);

/// Lets go of it, if there is one.
void Unload(HostSession& session);

// Bodies of the samples' processes.
void RunLoadSample(Subject subject);
void RunMemorySample(Subject subject);
void RunIdleSample(Subject subject, bool quick);

} // namespace bench
