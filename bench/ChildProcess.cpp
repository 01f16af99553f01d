#include "bench/ChildProcess.h"

#include "bench/Measure.h"

#include <iterator>

namespace bench {
namespace {

constexpr DWORD kEndLimit = 10'000; // milliseconds

} // namespace

std::wstring ProgramPath() {
    wchar_t path[MAX_PATH] = {};
    ::GetModuleFileNameW(nullptr, path, static_cast<DWORD>(std::size(path)));
    return path;
}

ChildProcess::ChildProcess(const std::vector<std::string>& arguments) {
    std::wstring command = L"\"" + ProgramPath() + L"\"";
    for (const std::string& argument : arguments) {
        command += L" " + std::wstring(argument.begin(), argument.end()); // own options, plain ASCII
    }
    SECURITY_ATTRIBUTES inheritable{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    HANDLE readEnd = nullptr;
    HANDLE writeEnd = nullptr;
    Require(::CreatePipe(&readEnd, &writeEnd, &inheritable, 0) != 0, "no pipe for a child process");
    output_.Reset(readEnd);
    const UniqueHandle childEnd(writeEnd);
    ::SetHandleInformation(readEnd, HANDLE_FLAG_INHERIT, 0);

    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = ::GetStdHandle(STD_INPUT_HANDLE);
    startup.hStdOutput = writeEnd;
    startup.hStdError = ::GetStdHandle(STD_ERROR_HANDLE);
    PROCESS_INFORMATION process{};
    Require(
        ::CreateProcessW(nullptr, command.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &process) != 0,
        "a child process cannot be started");
    ::CloseHandle(process.hThread);
    process_.Reset(process.hProcess);
}

ChildProcess::~ChildProcess() {
    if (process_ && ::WaitForSingleObject(process_.Get(), kEndLimit) != WAIT_OBJECT_0) {
        ::TerminateProcess(process_.Get(), 1);
    }
}

bool ChildProcess::ReadLine(std::string& line) {
    std::size_t end = 0;
    while ((end = pending_.find('\n')) == std::string::npos) {
        char block[4096];
        DWORD size = 0;
        if (!::ReadFile(output_.Get(), block, sizeof(block), &size, nullptr) || size == 0) {
            return false;
        }
        pending_.append(block, size);
    }
    line = pending_.substr(0, end);
    pending_.erase(0, end + 1);
    if (!line.empty() && line.back() == '\r') {
        line.pop_back();
    }
    return true;
}

int ChildProcess::Wait() {
    DWORD code = 0;
    const bool ended = ::WaitForSingleObject(process_.Get(), kEndLimit) == WAIT_OBJECT_0 &&
                       ::GetExitCodeProcess(process_.Get(), &code) != 0;
    return ended ? static_cast<int>(code) : -1;
}

} // namespace bench
