#pragma once

#include "workbench/verify/core/Options.h"
#include "workbench/verify/core/Process.h"
#include "workbench/verify/core/Report.h"

#include <oaidl.h>

#include <string>
#include <vector>

/// Every way in which a host ends the add-in, and its log shared by several processes.
namespace verify {

// The parts, and what their processes do. A process gets the words behind its part's name.

/// Load, connect, disconnect, release and free, again and again.
void RunCycles(const EndingOptions& options, Report& report);
int PlayCycles(const std::vector<std::string>& words); // kind, number

/// Processes with a connected add-in that end at a random moment, most of them without OnDisconnection. The plans are
/// those of ExitPlan.
void RunExits(const EndingOptions& options, Report& report);
int PlayExit(const std::vector<std::string>& words); // a plan's, then the events "connected" and "go"

/// Several processes, each with the add-in, write numbered lines into the same log.
void RunLog(const EndingOptions& options, Report& report);
int PlayWriter(const std::vector<std::string>& words); // mark, number of lines, the events "ready" and "go"

void DeleteLogs();
/// A process of this mode. @throws std::runtime_error
process::ChildProcess StartEnding(std::vector<std::wstring> words);

template <class Type>
Type FunctionOf(HMODULE module, const char* name) {
    return reinterpret_cast<Type>(reinterpret_cast<void*>(::GetProcAddress(module, name)));
}

/// The add-in's module and one object of it, without a host. COM is initialised.
class Module {
public:
    /// @throws std::runtime_error
    Module();
    ~Module();
    Module(const Module&) = delete;
    Module& operator=(const Module&) = delete;

    HMODULE Handle() const { return module_; }
    IDispatch* Object() const { return object_; }
    /// Has the add-in log a line with that text.
    static void Log(IDispatch* object, const std::string& text);

    /// @return the references that are left.
    ULONG ReleaseObject();
    void Free();
    /// Whether it is mapped in this process, whoever loaded it.
    static bool IsMapped();
    static HRESULT CanUnload(HMODULE module);

private:
    HMODULE module_ = nullptr;
    IDispatch* object_ = nullptr;
};

} // namespace verify
