#include "doctor/Checks.h"
#include "doctor/PeImage.h"
#include "doctor/Texts.h"

#include <algorithm>

namespace doctor {
namespace {

constexpr std::uint16_t kOldestOutlook = 15; // Outlook 2013
constexpr std::uint32_t kHighLevel = 0x3000;

void OutlookThere(const Scene& scene, Finding& found) {
    if (scene.FileExists(scene.outlook)) {
        found.Add(Verdict::Ok, texts::kOutlookAt, {scene.outlook});
    } else {
        found.Add(Verdict::Fail, texts::kNoOutlook).Advise(texts::kInstallOutlook);
    }
}

/// The registry's own record of Office's bitness: "x86" or "x64"; empty without one.
std::wstring RecordedBitness(const Scene& scene) {
    std::wstring recorded =
        scene.Text(Hive::Machine, std::wstring(kOfficeKey) + L"ClickToRun\\Configuration", L"Platform");
    for (const wchar_t* version : kOfficeVersions) {
        if (recorded.empty()) {
            recorded = scene.Text(Hive::Machine, kOfficeKey + std::wstring(version) + L"\\Outlook", L"Bitness");
        }
    }
    return recorded;
}

void Bitness(const Scene& scene, Finding& found) {
    const Answer<std::string> head = scene.machine.Head(scene.outlook, kProgramHeaders);
    if (IsDenied(head.access, scene.outlook, found)) {
        return;
    }
    const std::wstring recorded = RecordedBitness(scene);
    const auto kind = ImageMachine(head.value);
    if (kind == kMachineX64) {
        found.Add(Verdict::Ok, texts::kIs64Bit);
        if (SameText(recorded, L"x86")) {
            found.Add(Verdict::Info, texts::kRegistrySays, {recorded});
        }
    } else if (kind == kMachineX86 || (!head && SameText(recorded, L"x86"))) {
        found.Add(Verdict::Fail, texts::kIs32Bit).Advise(texts::kInstall64Bit);
    } else if (kind == kMachineArm64) {
        found.Add(Verdict::Warn, texts::kIsArm).Advise(texts::kInstall64Bit);
    } else if (head) {
        found.Add(Verdict::Warn, texts::kUnknownProgram, {scene.outlook}).Advise(texts::kInstallOutlook);
    } else {
        found.Add(Verdict::Info, texts::kNoOutlook); // H1 reports it
    }
}

void OutlookVersion(const Scene& scene, Finding& found) {
    const Answer<FileVersion> version = scene.machine.Version(scene.outlook);
    if (scene.outlook.empty()) {
        found.Add(Verdict::Info, texts::kNoOutlook); // H1 reports it
    } else if (!version) {
        found.Add(Verdict::Info, texts::kNoVersion, {scene.outlook});
    } else if (version->part[0] < kOldestOutlook) {
        found.Add(Verdict::Fail, texts::kTooOld, {VersionText(version.value)}).Advise(texts::kInstallNewer);
    } else {
        found.Add(Verdict::Ok, texts::kVersionIs, {VersionText(version.value)});
    }
}

void NewOutlook(const Scene& scene, Finding& found) {
    const std::wstring outlook = L"16.0\\Outlook\\";
    const std::wstring preferences = kOfficeKey + outlook + L"Preferences";
    if (scene.Number(Hive::User, preferences, L"UseNewOutlook").value_or(0) == 1) {
        found.Add(Verdict::Fail, texts::kNewOutlook).Advise(texts::kSwitchBack);
        found.Offer({Repair::Kind::SetNumber, preferences, L"UseNewOutlook", 0});
    } else if (scene.outlooks.empty() && !scene.machine.Processes(L"olk.exe").empty()) {
        found.Add(Verdict::Fail, texts::kNewOutlook).Advise(texts::kSwitchBack);
    }
    if (scene.Number(Hive::User, kOfficeKey + outlook + L"Options\\General", L"HideNewOutlookToggle").value_or(0) ==
        1) {
        found.Add(Verdict::Ok, texts::kToggleHidden);
    }
    for (const wchar_t* name : {L"NewOutlookMigrationUserSetting", L"DoNewOutlookAutoMigration"}) {
        for (const wchar_t* folder : {L"Preferences", L"Options\\General"}) {
            if (scene.Number(Hive::User, kPolicyKey + outlook + folder, name).value_or(0) == 1) {
                found.Add(Verdict::Warn, texts::kMigration, {name}).Advise(texts::kAskAdministration);
            }
        }
    }
}

void LoadedNow(const Scene& scene, Finding& found) {
    if (scene.outlooks.empty()) {
        found.Add(Verdict::Ok, texts::kNotRunning);
        return;
    }
    for (const Process& outlook : scene.outlooks) {
        if (outlook.commandLine && Contains(*outlook.commandLine, L"/safe")) {
            found.Add(Verdict::Fail, texts::kSafeMode).Advise(texts::kRestart);
        }
        if (!outlook.modules) {
            IsDenied(Access::Denied, L"OUTLOOK.EXE", found);
            return;
        }
    }
    if (IsLoaded(scene)) {
        found.Add(Verdict::Ok, texts::kLoaded, {scene.loadedModule});
    } else if (!scene.loadedModule.empty()) {
        found.Add(Verdict::Fail, texts::kLoadedOther, {scene.loadedModule, scene.module}).Advise(texts::kRestart);
    } else {
        found.Add(Verdict::Info, texts::kRunsWithout);
    }
}

void Levels(const Scene& scene, Finding& found) {
    const auto clients = scene.machine.WindowOwners(L"NbmProxyOutlookClientWnd");
    found.Add(Verdict::Ok, scene.outlooks.empty() ? texts::kNotRunning : texts::kSameLevel);
    for (const Process& outlook : scene.outlooks) {
        if (!outlook.integrity) {
            IsDenied(Access::Denied, L"OUTLOOK.EXE", found);
            continue;
        }
        for (const std::uint32_t id : clients) {
            const auto client = scene.machine.ProcessOf(id).integrity;
            if (client && *client != *outlook.integrity) {
                found.Add(Verdict::Warn, texts::kLevelsDiffer).Advise(texts::kStartUnelevated);
            }
        }
        if (*outlook.integrity >= kHighLevel) {
            found.Add(Verdict::Info, texts::kOutlookElevated).Advise(texts::kStartUnelevated);
        }
    }
}

constexpr Check kChecks[] = {
    {L"H1", L"outlook-there", OutlookThere},
    {L"H2", L"bitness", Bitness},
    {L"H3", L"version", OutlookVersion},
    {L"H4", L"new-outlook", NewOutlook, &texts::kClassicUsed, Verdict::Warn}, // its values are not confirmed on Windows
    {L"H5", L"loaded-now", LoadedNow},
    {L"H6", L"level", Levels},
};

} // namespace

std::span<const Check> HostChecks() {
    return kChecks;
}

} // namespace doctor
