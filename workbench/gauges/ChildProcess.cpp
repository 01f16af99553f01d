#include "workbench/gauges/ChildProcess.h"

#include "workbench/gauges/OwnProgram.h"

#include <stdexcept>

namespace gauges {
namespace {

constexpr DWORD kEndLimit = 10'000; // ms from the end of the output to the end of the process
constexpr DWORD kLook = 2;          // ms

} // namespace

ChildProcess::ChildProcess(const std::vector<std::wstring>& arguments) : job_(MakeKillingJob()) {
    std::wstring command = L"\"" + ProgramPath() + L"\"";
    for (const std::wstring& argument : arguments) {
        command += L" \"" + argument + L"\"";
    }
    SECURITY_ATTRIBUTES inheritable{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    HANDLE readEnd = nullptr;
    HANDLE writeEnd = nullptr;
    if (!::CreatePipe(&readEnd, &writeEnd, &inheritable, 0)) {
        throw std::runtime_error("no pipe for a child process");
    }
    output_.Reset(readEnd);
    const UniqueHandle childEnd(writeEnd);
    ::SetHandleInformation(readEnd, HANDLE_FLAG_INHERIT, 0);

    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = ::GetStdHandle(STD_INPUT_HANDLE);
    startup.hStdOutput = writeEnd;
    startup.hStdError = ::GetStdHandle(STD_ERROR_HANDLE);
    PROCESS_INFORMATION process{};
    if (!::CreateProcessW(nullptr, command.data(), nullptr, nullptr, TRUE, CREATE_SUSPENDED, nullptr, nullptr, &startup,
                          &process)) {
        throw std::runtime_error("a child process cannot be started");
    }
    process_.Reset(process.hProcess);
    const UniqueHandle thread(process.hThread);
    ::AssignProcessToJobObject(job_.Get(), process_.Get());
    ::ResumeThread(thread.Get());
}

bool ChildProcess::ReadLine(std::string& line, DWORD milliseconds) {
    std::size_t end = 0;
    while ((end = pending_.find('\n')) == std::string::npos) {
        if (!Read(milliseconds)) {
            return false;
        }
    }
    line = pending_.substr(0, end);
    pending_.erase(0, end + 1);
    if (!line.empty() && line.back() == '\r') {
        line.pop_back();
    }
    return true;
}

bool ChildProcess::Read(DWORD milliseconds) {
    const ULONGLONG begin = ::GetTickCount64();
    char block[4096];
    DWORD size = 0;
    // A pipe's end cannot be waited for.
    while (milliseconds != INFINITE && ::PeekNamedPipe(output_.Get(), nullptr, 0, nullptr, &size, nullptr) &&
           size == 0) {
        if (::GetTickCount64() - begin > milliseconds) {
            ::TerminateProcess(process_.Get(), WAIT_TIMEOUT);
            return false;
        }
        ::Sleep(kLook);
    }
    if (!::ReadFile(output_.Get(), block, sizeof block, &size, nullptr) || size == 0) {
        return false;
    }
    pending_.append(block, size);
    return true;
}

DWORD ChildProcess::Wait() {
    DWORD code = 0;
    if (::WaitForSingleObject(process_.Get(), kEndLimit) != WAIT_OBJECT_0) {
        ::TerminateProcess(process_.Get(), STILL_ACTIVE);
    }
    ::GetExitCodeProcess(process_.Get(), &code);
    return code;
}

} // namespace gauges
