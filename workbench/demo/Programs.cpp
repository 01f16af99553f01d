#include "workbench/demo/Programs.h"

#include "workbench/client/CommandLine.h"

#include "support/UniqueResource.h"

namespace demo {

std::optional<DWORD> RunToEnd(const std::wstring& program, const std::vector<std::wstring>& arguments) {
    std::wstring line = meeting_client::JoinCommandLine(program, arguments);
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION made{};
    if (!::CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                          &made)) {
        return std::nullopt;
    }
    const UniqueHandle process(made.hProcess);
    const UniqueHandle thread(made.hThread);
    if (::WaitForSingleObject(process.Get(), kProgramLimit) != WAIT_OBJECT_0) {
        ::TerminateProcess(process.Get(), 1);
        return std::nullopt;
    }
    DWORD code = 0;
    ::GetExitCodeProcess(process.Get(), &code);
    return code;
}

} // namespace demo
