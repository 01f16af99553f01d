#include "doctor/WindowsMachine.h"

#include "doctor/Finding.h"
#include "doctor/LogText.h"
#include "support/UniqueResource.h"

#include <windows.h>
#include <lmcons.h>
#include <psapi.h>
#include <tlhelp32.h>
#include <winevt.h>
#include <winternl.h>

#include <algorithm>
#include <cstdio>

namespace doctor {
namespace {

constexpr DWORD kEventAge = 30U * 86'400'000U; // ms
constexpr std::size_t kMostEvents = 1000;

struct EventTraits {
    using Value = EVT_HANDLE;
    static Value Empty() noexcept { return nullptr; }
    static void Close(Value handle) noexcept { ::EvtClose(handle); }
};
using UniqueEvent = UniqueResource<EventTraits>;

HKEY RootOf(Hive hive) {
    return hive == Hive::Machine ? HKEY_LOCAL_MACHINE : HKEY_CURRENT_USER;
}

std::optional<std::wstring> CommandLineOf(HANDLE process) {
    constexpr ULONG kCommandLine = 60; // ProcessCommandLineInformation, from Windows 8.1 on
    using Query = NTSTATUS(NTAPI*)(HANDLE, ULONG, void*, ULONG, ULONG*);
    const HMODULE system = ::GetModuleHandleW(L"ntdll.dll");
    const FARPROC found = system == nullptr ? nullptr : ::GetProcAddress(system, "NtQueryInformationProcess");
    const auto query = reinterpret_cast<Query>(reinterpret_cast<void (*)()>(found));
    std::vector<std::uint64_t> buffer(8192 + 8); // a command line has at most 64 KiB; aligned for the structure
    if (query == nullptr || query(process, kCommandLine, buffer.data(),
                                  static_cast<ULONG>(buffer.size() * sizeof buffer[0]), nullptr) < 0) {
        return std::nullopt;
    }
    const auto* text = reinterpret_cast<const UNICODE_STRING*>(buffer.data());
    return std::wstring(text->Buffer == nullptr ? L"" : text->Buffer, text->Length / sizeof(wchar_t));
}

std::optional<std::vector<std::wstring>> ModulesOf(DWORD id) {
    const UniqueHandle process(::OpenProcess(PROCESS_QUERY_INFORMATION | PROCESS_VM_READ, FALSE, id));
    std::vector<HMODULE> modules(2048);
    DWORD bytes = 0;
    if (!process || !::EnumProcessModules(process.Get(), modules.data(),
                                          static_cast<DWORD>(modules.size() * sizeof(HMODULE)), &bytes)) {
        return std::nullopt;
    }
    modules.resize(std::min(modules.size(), bytes / sizeof(HMODULE)));
    std::vector<std::wstring> paths;
    for (const HMODULE module : modules) {
        wchar_t path[1024] = L"";
        if (::GetModuleFileNameExW(process.Get(), module, path, static_cast<DWORD>(std::size(path))) != 0) {
            paths.emplace_back(path);
        }
    }
    return paths;
}

std::optional<std::uint32_t> IntegrityOf(HANDLE process) {
    HANDLE opened = nullptr;
    if (!::OpenProcessToken(process, TOKEN_QUERY, &opened)) {
        return std::nullopt;
    }
    const UniqueHandle token(opened);
    alignas(TOKEN_MANDATORY_LABEL) BYTE buffer[sizeof(TOKEN_MANDATORY_LABEL) + SECURITY_MAX_SID_SIZE] = {};
    DWORD size = 0;
    if (!::GetTokenInformation(token.Get(), TokenIntegrityLevel, buffer, sizeof buffer, &size)) {
        return std::nullopt;
    }
    PSID label = reinterpret_cast<const TOKEN_MANDATORY_LABEL*>(buffer)->Label.Sid;
    return *::GetSidSubAuthority(label, *::GetSidSubAuthorityCount(label) - 1UL);
}

std::optional<Event> Render(EVT_HANDLE event) {
    DWORD bytes = 0;
    DWORD count = 0;
    ::EvtRender(nullptr, event, EvtRenderEventXml, 0, nullptr, &bytes, &count);
    std::wstring xml(bytes / sizeof(wchar_t) + 1, L'\0');
    if (!::EvtRender(nullptr, event, EvtRenderEventXml, static_cast<DWORD>(xml.size() * sizeof(wchar_t)), xml.data(),
                     &bytes, &count)) {
        return std::nullopt;
    }
    xml.resize(std::min(xml.find(L'\0'), xml.size()));
    return ParseEvent(xml);
}

} // namespace

std::string LocalTime(const FILETIME& time) {
    SYSTEMTIME universal{};
    SYSTEMTIME local{};
    ::FileTimeToSystemTime(&time, &universal);
    ::SystemTimeToTzSpecificLocalTime(nullptr, &universal, &local);
    char text[64] = "";
    std::snprintf(text, sizeof text, "%04u-%02u-%02u %02u:%02u:%02u.%03u", local.wYear, local.wMonth, local.wDay,
                  local.wHour, local.wMinute, local.wSecond, local.wMilliseconds);
    return text;
}

Answer<RegistryValues> WindowsMachine::ReadValues(Hive hive, const std::wstring& path) const {
    HKEY opened = nullptr;
    const LSTATUS status = ::RegOpenKeyExW(RootOf(hive), path.c_str(), 0, KEY_READ | KEY_WOW64_64KEY, &opened);
    if (status != ERROR_SUCCESS) {
        return {status == ERROR_FILE_NOT_FOUND ? Access::Absent : Access::Denied, {}};
    }
    const UniqueKey key(opened);
    DWORD longestName = 0;
    DWORD longestData = 0;
    ::RegQueryInfoKeyW(key.Get(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &longestName,
                       &longestData, nullptr, nullptr);
    std::wstring name(longestName + 1, L'\0');
    std::vector<std::uint8_t> data(longestData + 1);
    Answer<RegistryValues> values{Access::Found, {}};
    for (DWORD index = 0;; ++index) {
        DWORD length = static_cast<DWORD>(name.size());
        DWORD size = static_cast<DWORD>(data.size());
        DWORD type = 0;
        // A value that has grown meanwhile does not fit and ends the list.
        if (::RegEnumValueW(key.Get(), index, name.data(), &length, nullptr, &type, data.data(), &size) !=
            ERROR_SUCCESS) {
            return values;
        }
        values.value.push_back({name.substr(0, length), type, {data.begin(), data.begin() + size}});
    }
}

std::vector<Process> WindowsMachine::Processes(const wchar_t* program) const {
    std::vector<Process> found;
    DWORD session = 0;
    ::ProcessIdToSessionId(::GetCurrentProcessId(), &session);
    const HANDLE taken = ::CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
    const UniqueHandle snapshot(taken == INVALID_HANDLE_VALUE ? nullptr : taken);
    PROCESSENTRY32W entry{};
    entry.dwSize = sizeof entry;
    for (BOOL more = snapshot && ::Process32FirstW(snapshot.Get(), &entry); more;
         more = ::Process32NextW(snapshot.Get(), &entry)) {
        DWORD other = 0;
        if (::CompareStringOrdinal(entry.szExeFile, -1, program, -1, TRUE) == CSTR_EQUAL &&
            ::ProcessIdToSessionId(entry.th32ProcessID, &other) && other == session) {
            found.push_back(ProcessOf(entry.th32ProcessID));
        }
    }
    return found;
}

Process WindowsMachine::ProcessOf(std::uint32_t id) const {
    Process process;
    process.id = id;
    const UniqueHandle opened(::OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, id));
    if (!opened) {
        return process;
    }
    wchar_t path[1024] = L"";
    DWORD length = static_cast<DWORD>(std::size(path));
    if (::QueryFullProcessImageNameW(opened.Get(), 0, path, &length)) {
        process.path.assign(path, length);
    }
    FILETIME started{};
    FILETIME ignored{};
    if (::GetProcessTimes(opened.Get(), &started, &ignored, &ignored, &ignored)) {
        process.started = LocalTime(started);
    }
    process.commandLine = CommandLineOf(opened.Get());
    process.integrity = IntegrityOf(opened.Get());
    process.modules = ModulesOf(id);
    return process;
}

std::vector<std::uint32_t> WindowsMachine::WindowOwners(const wchar_t* windowClass) const {
    std::vector<HWND> windows;
    for (const HWND parent : {HWND_MESSAGE, HWND{nullptr}}) {
        HWND window = nullptr;
        while ((window = ::FindWindowExW(parent, window, windowClass, nullptr)) != nullptr &&
               std::find(windows.begin(), windows.end(), window) == windows.end()) {
            windows.push_back(window);
        }
    }
    std::vector<std::uint32_t> owners;
    for (const HWND window : windows) {
        DWORD id = 0;
        ::GetWindowThreadProcessId(window, &id);
        owners.push_back(id);
    }
    return owners;
}

Answer<std::vector<Event>> WindowsMachine::Events(const wchar_t* channel, const wchar_t* source,
                                                  const std::vector<std::uint32_t>& ids) const {
    std::wstring query = L"*[System[";
    if (*source != L'\0') {
        query += L"Provider[@Name='" + std::wstring(source) + L"'] and ";
    }
    for (std::size_t i = 0; i < ids.size(); ++i) {
        query += (i == 0 ? L"(EventID=" : L" or EventID=") + std::to_wstring(ids[i]);
    }
    query += L") and TimeCreated[timediff(@SystemTime) <= " + std::to_wstring(kEventAge) + L"]]]";
    const UniqueEvent results(
        ::EvtQuery(nullptr, channel, query.c_str(), EvtQueryChannelPath | EvtQueryReverseDirection));
    if (!results) {
        return {::GetLastError() == ERROR_ACCESS_DENIED ? Access::Denied : Access::Absent, {}};
    }
    Answer<std::vector<Event>> events{Access::Found, {}};
    EVT_HANDLE next = nullptr;
    DWORD count = 0;
    while (events->size() < kMostEvents && ::EvtNext(results.Get(), 1, &next, INFINITE, 0, &count) && count == 1) {
        const UniqueEvent event(next);
        if (auto rendered = Render(event.Get())) {
            events.value.push_back(std::move(*rendered));
        }
    }
    return events;
}

std::vector<std::wstring> WindowsMachine::UserNames() const {
    std::vector<std::wstring> names;
    wchar_t name[UNLEN + 1] = L"";
    DWORD length = static_cast<DWORD>(std::size(name));
    if (::GetUserNameW(name, &length)) {
        names.emplace_back(name);
    }
    wchar_t profile[MAX_PATH] = L"";
    length = ::GetEnvironmentVariableW(L"USERPROFILE", profile, MAX_PATH);
    if (length != 0 && length < MAX_PATH) {
        const std::wstring_view folder(profile, length);
        names.emplace_back(folder.substr(folder.find_last_of(L'\\') + 1)); // its name can differ from the user's
    }
    return names;
}

LSTATUS Apply(const Repair& repair) {
    LSTATUS status = ERROR_SUCCESS;
    switch (repair.kind) {
    case Repair::Kind::DeleteKey:
        status = ::RegDeleteTreeW(HKEY_CURRENT_USER, repair.key.c_str());
        break;
    case Repair::Kind::DeleteValue:
        status = ::RegDeleteKeyValueW(HKEY_CURRENT_USER, repair.key.c_str(), repair.name.c_str());
        break;
    case Repair::Kind::SetNumber:
        return ::RegSetKeyValueW(HKEY_CURRENT_USER, repair.key.c_str(), repair.name.c_str(), REG_DWORD, &repair.number,
                                 sizeof repair.number);
    }
    return status == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : status;
}

} // namespace doctor
