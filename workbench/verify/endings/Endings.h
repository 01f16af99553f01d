#pragma once

#include "workbench/verify/core/Options.h"
#include "workbench/verify/core/Process.h"
#include "workbench/verify/core/Report.h"
#include "workbench/verify/core/Session.h"

#include <string>
#include <vector>

/// Every way in which a host ends the add-in, and its log shared by several processes.
namespace verify {

// The parts, and what their processes do. A process gets the words behind its part's name.

/// Load, connect, disconnect, release and free, again and again.
void RunCycles(const EndingOptions& options, Report& report);
int PlayCycles(const std::vector<std::string>& words); // kind, number

/// Processes with a connected add-in that end at a random moment, most of them without OnDisconnection.
void RunExits(const EndingOptions& options, Report& report);
int PlayExit(const std::vector<std::string>& words); // number, seed

/// Several processes, each with the add-in, write numbered lines into the same log.
void RunLog(const EndingOptions& options, Report& report);
int PlayWriter(const std::vector<std::string>& words); // mark, number of lines

void DeleteLogs();

/// A process of this mode that says when it is ready and waits until it is told to go.
struct EndingProcess {
    /// @param words for it; the names of the events are added. @throws std::runtime_error
    explicit EndingProcess(std::vector<std::wstring> words);

    std::wstring readyName = NewName();
    std::wstring goName = NewName();
    UniqueHandle ready = SharedEvent(readyName);
    UniqueHandle go = SharedEvent(goName);
    process::ChildProcess process;
};
/// The same on the side of that process, which handles messages meanwhile.
void AwaitGo(const std::vector<std::string>& words);

/// A process of this mode. @throws std::runtime_error
process::ChildProcess StartEnding(std::vector<std::wstring> words);
/// Has the add-in log so many numbered lines with that mark. Any thread.
void WriteNumbered(IUnknown* addIn, const std::string& mark, std::uint64_t count);

} // namespace verify
