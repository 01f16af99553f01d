#pragma once

#include "support/UniqueResource.h"

#include <windows.h>

#include <string>
#include <vector>

namespace faults {

/// This program once more, its standard output read line by line. It does not outlive the object.
class Child {
public:
    /// @throws std::runtime_error when it cannot be started.
    explicit Child(const std::vector<std::wstring>& arguments);
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    /// Waits for the next line. @return false at the end of the output.
    bool ReadLine(std::string& line);
    /// Waits for its end. @return its exit code.
    DWORD Wait();

private:
    UniqueHandle job_;
    UniqueHandle process_;
    UniqueHandle output_;
    std::string pending_;
};

} // namespace faults
