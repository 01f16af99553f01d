#pragma once

#include "Outlook/AddIns/RegistryTable.h"
#include "doctor/Finding.h"
#include "doctor/Machine.h"

#include <string>
#include <string_view>
#include <vector>

namespace doctor {

inline constexpr const wchar_t* kModuleFile = L"OutlookAddIn.dll";
inline constexpr const wchar_t* kClassesKey = L"SOFTWARE\\Classes\\";
inline constexpr const wchar_t* kOfficeKey = L"SOFTWARE\\Microsoft\\Office\\";
inline constexpr const wchar_t* kPolicyKey = L"SOFTWARE\\Policies\\Microsoft\\Office\\";
inline constexpr const wchar_t* kOfficeVersions[] = {L"16.0", L"15.0"};
/// Where Office's streamed installation keeps its own view of HKEY_LOCAL_MACHINE\SOFTWARE.
inline constexpr const wchar_t* kStreamedKey =
    L"SOFTWARE\\Microsoft\\Office\\ClickToRun\\REGISTRY\\MACHINE\\Software\\";

/// The input of the checks: the computer, and the facts that several checks need, read once.
struct Scene {
    Scene(const Machine& computer, Language texts);

    const Machine& machine;
    Language language;
    std::wstring outlook;          ///< path of OUTLOOK.EXE; empty when it is not registered
    std::wstring module;           ///< path of the registered module; empty without one
    Answer<std::string> image;     ///< content of that file
    std::vector<Process> outlooks; ///< the processes of Outlook
    std::wstring loadedModule;     ///< path of the add-in's module in one of them; empty without one

    /// A value below HKEY_LOCAL_MACHINE or HKEY_CURRENT_USER.
    Answer<RegistryValue> Value(Hive hive, const std::wstring& key, std::wstring_view name) const;
    std::optional<std::uint32_t> Number(Hive hive, const std::wstring& key, std::wstring_view name) const;
    std::wstring Text(Hive hive, const std::wstring& key, std::wstring_view name = {}) const;
    /// The default value of a class key. The user's classes hide those of the computer.
    std::wstring ClassText(const std::wstring& key) const;
    bool FileExists(const std::wstring& path) const;
};

/// Path of the add-in's module in one of these processes; empty without one.
std::wstring FindLoadedModule(const std::vector<Process>& processes);

/// Full key below HKEY_LOCAL_MACHINE of an entry of the product's table.
std::wstring MachineKey(const registry::Value& entry);

bool SameText(std::wstring_view one, std::wstring_view other); ///< ignores the case
bool Contains(std::wstring_view text, std::wstring_view part); ///< ignores the case
std::wstring FileName(std::wstring_view path);
std::wstring Parent(std::wstring_view path);
/// The program of a command line, without quotation marks and arguments.
std::wstring ProgramOf(std::wstring_view command);
/// "0x80004005"
std::wstring HexText(std::uint32_t number);
std::wstring VersionText(const FileVersion& version);

} // namespace doctor
