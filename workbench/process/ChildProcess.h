#pragma once

#include "support/UniqueResource.h"

#include <windows.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace process {

/// The standard streams of a child process.
enum class Streams {
    Own,        ///< the system's choice; it inherits no handle
    Shared,     ///< those of this process
    OutputRead, ///< its output is read here, line by line; the others are shared
    Dialogue    ///< so is its output, and its input is written here; it has a console of its own, which nobody sees
};

/// Another process. It does not outlive this object, nor this process.
class ChildProcess {
public:
    /// Starts a program; see StartRepeatedly. @throws std::runtime_error when it cannot be started.
    ChildProcess(const std::wstring& program, const std::vector<std::wstring>& arguments, Streams streams);
    /// Takes over a process that runs already. @throws std::runtime_error when it cannot be taken over.
    explicit ChildProcess(DWORD id);

    DWORD Id() const noexcept { return id_; }
    bool Running() const noexcept { return ::WaitForSingleObject(process_.Get(), 0) == WAIT_TIMEOUT; }
    /// @return its exit code; nothing when it still runs after that time.
    std::optional<DWORD> WaitForEnd(DWORD milliseconds) const noexcept;
    /// @return whether the event came before the process ended and within that time.
    bool WaitFor(HANDLE event, DWORD milliseconds) const noexcept;
    void Terminate(DWORD code) noexcept { ::TerminateProcess(process_.Get(), code); }
    void Suspend() noexcept { ::SuspendThread(thread_.Get()); } // its main thread
    void Resume() noexcept { ::ResumeThread(thread_.Get()); }

    /// Waits for the next line of an output that is read here. @return false at the end of the output.
    /// @param milliseconds how long the process may be silent; one that is longer so is ended.
    bool ReadLine(std::string& line, DWORD milliseconds = INFINITE);
    /// Writes to an input that is written here. A process that has ended takes nothing.
    void Write(std::string_view text) const noexcept;
    /// Waits for its end, which must come soon after that of its output. @return its exit code, never 0 when it had to
    /// be ended.
    DWORD Wait();

private:
    bool Read(DWORD milliseconds);

    UniqueHandle job_;
    UniqueHandle process_;
    UniqueHandle thread_;
    UniqueHandle output_;
    UniqueHandle input_;
    DWORD id_ = 0;
    std::string pending_;
};

} // namespace process
