#include "workbench/endings/Process.h"

#include "workbench/endings/Report.h"

#include "workbench/client/CommandLine.h"
#include "workbench/gauges/OwnProgram.h"

#include <cstdio>
#include <iterator>
#include <stdexcept>

namespace endings {
namespace {

constexpr DWORD kFirstFault = 0xC0000000;
constexpr int kStartTries = 5;
constexpr DWORD kStartPause = 500; // ms

/// Writes past the C library, whose locks a killed thread may hold.
LONG WINAPI OnException(EXCEPTION_POINTERS* raised) noexcept {
    const EXCEPTION_RECORD& record = *raised->ExceptionRecord;
    if (!gauges::IsCrash(record.ExceptionCode)) {
        return EXCEPTION_CONTINUE_SEARCH;
    }
    char text[100];
    const int length = std::snprintf(text, sizeof text, "crash 0x%08lx at %p, thread %lu\n", record.ExceptionCode,
                                     record.ExceptionAddress, ::GetCurrentThreadId());
    DWORD written = 0;
    ::WriteFile(::GetStdHandle(STD_OUTPUT_HANDLE), text, static_cast<DWORD>(length), &written, nullptr);
    ::TerminateProcess(::GetCurrentProcess(), record.ExceptionCode);
    return EXCEPTION_CONTINUE_SEARCH;
}

} // namespace

Process::Process(const std::vector<std::wstring>& orders) : job_(gauges::MakeKillingJob()) {
    const std::wstring program = gauges::ProgramPath();
    std::vector<std::wstring> arguments{L"--child"};
    arguments.insert(arguments.end(), orders.begin(), orders.end());
    const std::wstring line = meeting_client::JoinCommandLine(program, arguments);
    // Under Wine a start fails once in some hundred times on a busy machine; the add-in has no part in that yet.
    for (int tries = 1; !Start(program, line); ++tries) {
        const DWORD error = ::GetLastError();
        if (tries == kStartTries) {
            throw std::runtime_error("a process could not be started: error " + std::to_string(error));
        }
        Say("  a process could not be started (error " + std::to_string(error) + "); once more");
        ::Sleep(kStartPause);
    }
    ::AssignProcessToJobObject(job_.Get(), process_.Get());
    ::ResumeThread(thread_.Get());
}

bool Process::Start(const std::wstring& program, std::wstring line) {
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = ::GetStdHandle(STD_OUTPUT_HANDLE);
    startup.hStdError = ::GetStdHandle(STD_ERROR_HANDLE);
    PROCESS_INFORMATION made{};
    if (!::CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, TRUE, CREATE_SUSPENDED, nullptr, nullptr,
                          &startup, &made)) {
        return false;
    }
    process_.Reset(made.hProcess);
    thread_.Reset(made.hThread);
    return true;
}

std::optional<DWORD> Process::WaitForEnd(DWORD milliseconds) const {
    DWORD code = 0;
    if (::WaitForSingleObject(process_.Get(), milliseconds) != WAIT_OBJECT_0 ||
        !::GetExitCodeProcess(process_.Get(), &code)) {
        return std::nullopt;
    }
    return code;
}

bool Process::WaitFor(HANDLE event, DWORD milliseconds) const {
    const HANDLE either[] = {event, process_.Get()};
    return ::WaitForMultipleObjects(static_cast<DWORD>(std::size(either)), either, FALSE, milliseconds) ==
           WAIT_OBJECT_0;
}

UniqueHandle SharedEvent(const std::wstring& name) {
    UniqueHandle event(::CreateEventW(nullptr, TRUE, FALSE, name.c_str()));
    if (!event) {
        throw std::runtime_error("no event");
    }
    return event;
}

std::wstring NewName() {
    static unsigned next = 0;
    return L"NembraEndings-" + std::to_wstring(::GetCurrentProcessId()) + L"-" + std::to_wstring(++next);
}

void ReportCrashes() {
    ::AddVectoredExceptionHandler(1, &OnException);
}

bool IsFault(DWORD exitCode) {
    return exitCode >= kFirstFault;
}

std::string Hex(DWORD value) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%lx", value);
    return text;
}

} // namespace endings
