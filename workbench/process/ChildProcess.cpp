#include "workbench/process/ChildProcess.h"

#include "workbench/process/CommandLine.h"
#include "workbench/process/Start.h"

#include <iterator>
#include <stdexcept>

namespace process {
namespace {

constexpr DWORD kEndLimit = 10'000; // ms from the end of the output to the end of the process
constexpr DWORD kLook = 2;          // ms

/// @throws std::runtime_error when the call has failed.
void Require(bool done, const char* what) {
    if (!done) {
        const DWORD error = ::GetLastError();
        throw std::runtime_error(std::string(what) + ": error " + std::to_string(error));
    }
}

/// A job that kills the processes in it when its last handle is closed, thus at the latest with this process.
UniqueHandle MakeKillingJob() {
    UniqueHandle job(::CreateJobObjectW(nullptr, nullptr));
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
    Require(job && ::SetInformationJobObject(job.Get(), JobObjectExtendedLimitInformation, &limits, sizeof limits),
            "no job for a child process");
    return job;
}

/// A pipe of which the child inherits one end. @return that end.
UniqueHandle MakePipe(UniqueHandle& own, bool childReads) {
    SECURITY_ATTRIBUTES inheritable{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    HANDLE readEnd = nullptr;
    HANDLE writeEnd = nullptr;
    Require(::CreatePipe(&readEnd, &writeEnd, &inheritable, 0), "no pipe for a child process");
    own.Reset(childReads ? writeEnd : readEnd);
    ::SetHandleInformation(own.Get(), HANDLE_FLAG_INHERIT, 0);
    return UniqueHandle(childReads ? readEnd : writeEnd);
}

} // namespace

ChildProcess::ChildProcess(const std::wstring& program, const std::vector<std::wstring>& arguments, Streams streams)
    : job_(MakeKillingJob()) {
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    if (streams != Streams::Own) {
        startup.dwFlags = STARTF_USESTDHANDLES;
        startup.hStdInput = ::GetStdHandle(STD_INPUT_HANDLE);
        startup.hStdOutput = ::GetStdHandle(STD_OUTPUT_HANDLE);
        startup.hStdError = ::GetStdHandle(STD_ERROR_HANDLE);
    }
    UniqueHandle childOutput;
    UniqueHandle childInput;
    if (streams == Streams::OutputRead || streams == Streams::Dialogue) {
        childOutput = MakePipe(output_, false);
        startup.hStdOutput = childOutput.Get();
    }
    if (streams == Streams::Dialogue) {
        childInput = MakePipe(input_, true);
        startup.hStdInput = childInput.Get();
    }
    const std::wstring line = JoinCommandLine(program, arguments);
    PROCESS_INFORMATION made{};
    // It is suspended until it is in the job, so that it can never outlive its owner.
    const auto start = [&] {
        std::wstring changeable = line;
        return ::CreateProcessW(program.c_str(), changeable.data(), nullptr, nullptr, streams != Streams::Own,
                                CREATE_SUSPENDED | (streams == Streams::Dialogue ? CREATE_NO_WINDOW : 0), nullptr,
                                nullptr, &startup, &made) != FALSE;
    };
    Require(StartRepeatedly(start), "a child process cannot be started");
    process_.Reset(made.hProcess);
    thread_.Reset(made.hThread);
    id_ = made.dwProcessId;
    if (!::AssignProcessToJobObject(job_.Get(), process_.Get())) {
        const DWORD error = ::GetLastError();
        Terminate(error);
        ::SetLastError(error);
        Require(false, "a child process cannot be put into its job");
    }
    Resume();
}

ChildProcess::ChildProcess(DWORD id) : job_(MakeKillingJob()), id_(id) {
    constexpr DWORD kRights = SYNCHRONIZE | PROCESS_TERMINATE | PROCESS_SET_QUOTA | PROCESS_QUERY_LIMITED_INFORMATION;
    process_.Reset(::OpenProcess(kRights, FALSE, id));
    Require(process_ && ::AssignProcessToJobObject(job_.Get(), process_.Get()),
            "a running process cannot be taken over");
}

std::optional<DWORD> ChildProcess::WaitForEnd(DWORD milliseconds) const noexcept {
    DWORD code = 0;
    if (::WaitForSingleObject(process_.Get(), milliseconds) != WAIT_OBJECT_0 ||
        !::GetExitCodeProcess(process_.Get(), &code)) {
        return std::nullopt;
    }
    return code;
}

bool ChildProcess::WaitFor(HANDLE event, DWORD milliseconds) const noexcept {
    const HANDLE either[] = {event, process_.Get()};
    return ::WaitForMultipleObjects(static_cast<DWORD>(std::size(either)), either, FALSE, milliseconds) ==
           WAIT_OBJECT_0;
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

void ChildProcess::Write(std::string_view text) const noexcept {
    DWORD written = 0;
    ::WriteFile(input_.Get(), text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
}

bool ChildProcess::Read(DWORD milliseconds) {
    const ULONGLONG begin = ::GetTickCount64();
    char block[4096];
    DWORD size = 0;
    // A pipe's end cannot be waited for.
    while (milliseconds != INFINITE && ::PeekNamedPipe(output_.Get(), nullptr, 0, nullptr, &size, nullptr) &&
           size == 0) {
        if (::GetTickCount64() - begin > milliseconds) {
            Terminate(WAIT_TIMEOUT);
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
    if (const std::optional<DWORD> code = WaitForEnd(kEndLimit)) {
        return *code;
    }
    Terminate(STILL_ACTIVE);
    return STILL_ACTIVE;
}

} // namespace process
