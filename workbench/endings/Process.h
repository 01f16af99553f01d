#pragma once

#include "support/UniqueResource.h"

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

namespace endings {

/// Another process of this program, told what to do by "--child ...". It lives no longer than this object.
class Process {
public:
    /// @throws std::runtime_error
    explicit Process(const std::vector<std::wstring>& orders);

    bool Running() const { return ::WaitForSingleObject(process_.Get(), 0) == WAIT_TIMEOUT; }
    /// @return its exit code; nothing when it still runs after that time.
    std::optional<DWORD> WaitForEnd(DWORD milliseconds) const;
    /// @return whether the event came before the process ended and within that time.
    bool WaitFor(HANDLE event, DWORD milliseconds) const;
    void Terminate(DWORD code) { ::TerminateProcess(process_.Get(), code); }
    void Suspend() { ::SuspendThread(thread_.Get()); } // its main thread
    void Resume() { ::ResumeThread(thread_.Get()); }

private:
    bool Start(const std::wstring& program, std::wstring line);

    UniqueHandle job_;
    UniqueHandle process_;
    UniqueHandle thread_;
};

/// An event that both sides open by name. A name is used once.
UniqueHandle SharedEvent(const std::wstring& name);
std::wstring NewName();

/// Reports a crash of the calling process and ends it with the exception's code, also where the system would pass the
/// crash over: in a window procedure, or while the process ends.
void ReportCrashes();
/// Whether a process with this exit code ended by a fault.
bool IsFault(DWORD exitCode);
std::string Hex(DWORD value);

} // namespace endings
