#pragma once

#include "support/UniqueResource.h"

#include <windows.h>

#include <string>
#include <vector>

namespace gauges {

/// This program once more, its standard output read line by line, the rest shared. It does not outlive the object.
class ChildProcess {
public:
    /// @throws std::runtime_error when it cannot be started.
    explicit ChildProcess(const std::vector<std::wstring>& arguments);
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    /// Waits for the next line. @return false at the end of the output.
    /// @param milliseconds how long the process may be silent; one that is longer so is ended.
    bool ReadLine(std::string& line, DWORD milliseconds = INFINITE);
    /// Waits for its end, which must come soon after that of its output. @return its exit code, never 0 when it had to
    /// be ended.
    DWORD Wait();

private:
    bool Read(DWORD milliseconds);

    UniqueHandle job_;
    UniqueHandle process_;
    UniqueHandle output_;
    std::string pending_;
};

} // namespace gauges
