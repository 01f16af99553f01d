#pragma once

#include "doctor/Machine.h"

#include <windows.h>

namespace doctor {

/// The computer on which this program runs. No reading throws but for want of memory.
class WindowsMachine : public Machine {
public:
    Answer<std::string> Head(const std::wstring& path, std::size_t limit) const override;
    Answer<std::string> Tail(const std::wstring& path, std::size_t limit) const override;
    Answer<FileVersion> Version(const std::wstring& path) const override;
    Signature SignatureOf(const std::wstring& path) const override;
    Answer<bool> Writable(const std::wstring& path) const override;
    std::optional<std::uint64_t> FreeBytes(const std::wstring& folder) const override;
    std::wstring Folder(Place place) const override;
    std::vector<Process> Processes(const wchar_t* program) const override;
    Process ProcessOf(std::uint32_t id) const override;
    std::vector<std::uint32_t> WindowOwners(const wchar_t* windowClass) const override;
    Answer<std::vector<Event>> Events(const wchar_t* channel, const wchar_t* source,
                                      const std::vector<std::uint32_t>& ids) const override;
    ProbeResult Probe(const std::wstring& module) const override;
    std::vector<std::wstring> UserNames() const override;

protected:
    Answer<RegistryValues> ReadValues(Hive hive, const std::wstring& key) const override;
};

/// Local time in the form of the log's lines.
std::string LocalTime(const FILETIME& time);

/// The body of the child process that `Probe` starts. @return 0, an error of Windows, or a status of COM.
DWORD ProbeModule(const wchar_t* module);

/// The option, followed by the module's path, that makes this program such a child process.
inline constexpr const wchar_t* kProbeOption = L"--probe";

/// Makes the change below HKEY_CURRENT_USER. A key or value that it deletes may be absent. @return an error of Windows.
struct Repair;
LSTATUS Apply(const Repair& repair);

} // namespace doctor
