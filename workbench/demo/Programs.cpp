#include "workbench/demo/Programs.h"

#include "workbench/process/ChildProcess.h"

#include <stdexcept>

namespace demo {

std::optional<DWORD> RunToEnd(const std::wstring& program, const std::vector<std::wstring>& arguments) {
    try {
        return process::ChildProcess(program, arguments, process::Streams::Own).WaitForEnd(kProgramLimit);
    } catch (const std::runtime_error&) {
        return std::nullopt;
    }
}

} // namespace demo
