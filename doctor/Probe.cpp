#include "doctor/WindowsMachine.h"

#include "Outlook/AddIns/RegistryTable.h"
#include "support/UniqueResource.h"

#include <windows.h>
#include <objbase.h>

namespace doctor {
namespace {

constexpr DWORD kLimit = 10'000; // ms

HRESULT CreateObject(HMODULE module) {
    using GetClassObject = HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, void**);
    const auto getClassObject =
        reinterpret_cast<GetClassObject>(reinterpret_cast<void (*)()>(::GetProcAddress(module, "DllGetClassObject")));
    if (getClassObject == nullptr) {
        return HRESULT_FROM_WIN32(ERROR_PROC_NOT_FOUND);
    }
    CLSID id{};
    HRESULT status = ::CLSIDFromString(registry::kClassId, &id);
    IClassFactory* factory = nullptr;
    if (SUCCEEDED(status)) {
        status = getClassObject(id, IID_IClassFactory, reinterpret_cast<void**>(&factory));
    }
    if (FAILED(status) || factory == nullptr) {
        return FAILED(status) ? status : E_POINTER;
    }
    IDispatch* object = nullptr;
    status = factory->CreateInstance(nullptr, IID_IDispatch, reinterpret_cast<void**>(&object));
    if (object != nullptr) {
        object->Release();
    }
    factory->Release();
    return status;
}

/// Ends the process with the exception's code, before a debugger or an error report can hold it.
LONG WINAPI EndAtOnce(EXCEPTION_POINTERS* exception) {
    ::TerminateProcess(::GetCurrentProcess(), exception->ExceptionRecord->ExceptionCode);
    return EXCEPTION_EXECUTE_HANDLER;
}

/// A job that ends its processes when this process ends.
UniqueHandle MakeJob() {
    UniqueHandle job(::CreateJobObjectW(nullptr, nullptr));
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
    ::SetInformationJobObject(job.Get(), JobObjectExtendedLimitInformation, &limits, sizeof limits);
    return job;
}

} // namespace

DWORD ProbeModule(const wchar_t* path) {
    // No box that waits for the user, neither for a missing library nor for a crash.
    ::SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX);
    ::SetUnhandledExceptionFilter(EndAtOnce);
    HRESULT status = ::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    if (FAILED(status)) {
        return static_cast<DWORD>(status);
    }
    const HMODULE module = ::LoadLibraryExW(path, nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
    const DWORD error = module == nullptr ? ::GetLastError() : ERROR_SUCCESS;
    if (module != nullptr) {
        status = CreateObject(module);
        ::FreeLibrary(module);
    }
    ::CoUninitialize();
    return error != ERROR_SUCCESS ? error : static_cast<DWORD>(FAILED(status) ? status : S_OK);
}

ProbeResult WindowsMachine::Probe(const std::wstring& module) const {
    const std::wstring program = Folder(Place::Program);
    std::wstring line = L"\"" + program + L"\" " + kProbeOption + L" \"" + module + L"\"";
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION made{};
    const UniqueHandle job = MakeJob();
    if (!::CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, FALSE, CREATE_SUSPENDED | CREATE_NO_WINDOW,
                          nullptr, nullptr, &startup, &made)) {
        return {ProbeResult::End::NotStarted, ::GetLastError()};
    }
    const UniqueHandle process(made.hProcess);
    const UniqueHandle thread(made.hThread);
    ::AssignProcessToJobObject(job.Get(), process.Get());
    ::ResumeThread(thread.Get());
    DWORD code = 0;
    if (::WaitForSingleObject(process.Get(), kLimit) != WAIT_OBJECT_0) {
        ::TerminateProcess(process.Get(), WAIT_TIMEOUT);
        return {ProbeResult::End::TimedOut, WAIT_TIMEOUT};
    }
    ::GetExitCodeProcess(process.Get(), &code);
    return {code == 0 ? ProbeResult::End::Done : ProbeResult::End::Failed, code};
}

} // namespace doctor
