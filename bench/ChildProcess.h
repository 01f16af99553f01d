#pragma once

#include "support/UniqueResource.h"

#include <windows.h>

#include <string>
#include <vector>

namespace bench {

/// This program started once more, its standard output read line by line, the rest shared. It does not outlive the
/// object. One thread.
class ChildProcess {
public:
    /// @throws std::runtime_error when it cannot be started.
    explicit ChildProcess(const std::vector<std::string>& arguments);
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    /// Waits for the next line of its output. @return false at the end of it.
    bool ReadLine(std::string& line);
    /// Waits for its end. @return its exit code; -1 when it does not end by itself.
    int Wait();

private:
    UniqueHandle process_;
    UniqueHandle output_;
    std::string pending_;
};

/// The program file of this process.
std::wstring ProgramPath();

} // namespace bench
