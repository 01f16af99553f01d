#include "doctor/Checks.h"

#include "doctor/PeImage.h"
#include "doctor/Texts.h"
#include "resources/version.h"
#include "support/Text.h"

#include <algorithm>
#include <utility>

namespace doctor {
namespace {

void RunCheck(const Check& check, const Scene& scene, Finding& found) {
    if (check.needsModule && !scene.image) {
        found.Add(Verdict::Info, texts::kNoModule);
        return;
    }
    check.run(scene, found);
    if (found.Fact().empty() && check.fine != nullptr) {
        found.Add(Verdict::Ok, *check.fine);
    }
}

} // namespace

std::vector<Check> AllChecks() {
    std::vector<Check> all;
    for (const auto group : {HostChecks, RegistrationChecks, FileChecks, StateChecks, LinkChecks}) {
        const std::span<const Check> checks = group();
        all.insert(all.end(), checks.begin(), checks.end());
    }
    return all;
}

bool IsLoaded(const Scene& scene) {
    return !scene.loadedModule.empty() && SameText(scene.loadedModule, scene.module);
}

std::vector<Finding> RunChecks(const Scene& scene, std::wstring_view only) {
    constexpr std::wstring_view kForLoadedAddIn = L"HLC";
    std::vector<Finding> findings;
    for (const Check& check : AllChecks()) {
        const bool wanted = only.empty() ? !IsLoaded(scene) || kForLoadedAddIn.find(*check.id) != std::wstring::npos
                                         : SameText(check.id, only);
        if (wanted) {
            RunCheck(check, scene, findings.emplace_back(check.id, check.name, check.ceiling, scene.language));
        }
    }
    return findings;
}

bool IsDenied(Access access, const std::wstring& what, Finding& found) {
    if (access == Access::Denied) {
        found.Add(Verdict::Unknown, texts::kDenied, {what}).Advise(texts::kAsAffectedUser);
    }
    return access == Access::Denied;
}

std::vector<Event> EventsOf(const Scene& scene, const wchar_t* channel, const wchar_t* source,
                            const std::vector<std::uint32_t>& ids, Finding& found) {
    Answer<std::vector<Event>> events = scene.machine.Events(channel, source, ids);
    if (!IsDenied(events.access, channel, found) && !events) {
        found.Add(Verdict::Info, texts::kNoEventLog, {channel});
    }
    return std::move(events.value);
}

std::wstring RegistryName(Hive hive, const std::wstring& key) {
    return (hive == Hive::Machine ? L"HKLM\\" : L"HKCU\\") + key;
}

std::wstring DeleteCommand(const std::wstring& machineKey, const std::wstring& name) {
    return L"reg delete \"" + RegistryName(Hive::Machine, machineKey) + L"\"" +
           (name.empty() ? L"" : L" /v \"" + name + L"\"") + L" /f /reg:64";
}

std::wstring RepairCommand(const Scene& scene) {
    const std::wstring installed = scene.machine.Folder(Place::Installed) + L"\\" + kModuleFile;
    const std::wstring beside = Parent(scene.machine.Folder(Place::Program)) + L"\\" + kModuleFile;
    for (const std::wstring& module : {installed, scene.module, beside}) {
        if (ImageMachine(scene.machine.Head(module, kProgramHeaders).value) == kMachineX64) {
            return L"\"" + scene.machine.Folder(Place::System) + L"\\regsvr32.exe\" /s \"" + module + L"\"";
        }
    }
    return L"msiexec /i NembraOutlookAddIn-" + ToWide(ADDIN_VERSION_TEXT) +
           L"-x64.msi REINSTALL=ALL REINSTALLMODE=amus";
}

} // namespace doctor
