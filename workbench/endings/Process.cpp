#include "workbench/endings/Process.h"

#include "workbench/process/OwnProgram.h"

#include <cstdio>
#include <stdexcept>

namespace endings {
namespace {

constexpr DWORD kFirstFault = 0xC0000000;

/// Writes past the C library, whose locks a killed thread may hold.
LONG WINAPI OnException(EXCEPTION_POINTERS* raised) noexcept {
    const EXCEPTION_RECORD& record = *raised->ExceptionRecord;
    if (!process::IsCrash(record.ExceptionCode)) {
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

process::ChildProcess StartChild(const std::vector<std::wstring>& orders) {
    std::vector<std::wstring> arguments{L"--child"};
    arguments.insert(arguments.end(), orders.begin(), orders.end());
    return process::ChildProcess(process::ProgramPath(), arguments, process::Streams::Shared);
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
