#include "doctor/Checks.h"
#include "doctor/PeImage.h"
#include "doctor/Texts.h"

#include "resources/version.h"
#include "support/Text.h"

#include <windows.h>

namespace doctor {
namespace {

constexpr FileVersion kOwnVersion = {{ADDIN_VERSION_NUMBERS}};
constexpr std::uint32_t kLoadFailures = 0x10000;  // below: errors of Windows, from loading the file
constexpr std::uint32_t kExceptions = 0xC0000000; // from here on: exceptions that ended the process

void ModuleFile(const Scene& scene, Finding& found) {
    if (scene.module.empty()) {
        found.Add(Verdict::Info, texts::kNoModule);
        return;
    }
    const auto kind = ImageMachine(scene.image.value);
    if (scene.image.access == Access::Absent) {
        found.Add(Verdict::Fail, texts::kFileMissing, {scene.module});
    } else if (!scene.image) {
        found.Add(Verdict::Fail, texts::kFileUnreadable, {scene.module});
    } else if (!kind) {
        found.Add(Verdict::Fail, texts::kNoProgram, {scene.module});
    } else if (kind != kMachineX64) {
        found.Add(Verdict::Fail, texts::kNot64Bit, {scene.module, HexText(*kind)});
    } else {
        const FileVersion version = scene.machine.Version(scene.module).value;
        found.Add(Verdict::Ok, texts::kFileFine, {VersionText(version)});
        if (version != kOwnVersion) {
            found.Add(Verdict::Warn, texts::kOtherVersion, {VersionText(version), VersionText(kOwnVersion)});
        }
    }
    found.Advise(texts::kRepair);
    if (found.GetVerdict() >= Verdict::Warn) {
        found.Command(RepairCommand(scene));
    }
}

void MarkOfWeb(const Scene& scene, Finding& found) {
    constexpr std::string_view kZone = "ZoneId=";
    const Answer<std::string> mark = scene.machine.Head(scene.module + L":Zone.Identifier", 1024);
    const std::size_t at = mark->find(kZone);
    const char zone =
        at == std::string::npos || at + kZone.size() >= mark->size() ? '0' : mark.value[at + kZone.size()];
    if (zone >= '3' && zone <= '9') {
        found.Add(Verdict::Warn, texts::kMark, {std::wstring(1, static_cast<wchar_t>(zone))});
        found.Advise(texts::kUnblock);
    }
}

void Writable(const Scene& scene, Finding& found) {
    for (const std::wstring& path : {scene.module, Parent(scene.module)}) {
        const Answer<bool> writable = scene.machine.Writable(path);
        if (!IsDenied(writable.access, path, found) && writable.value) {
            found.Add(Verdict::Warn, texts::kWritable, {path}).Advise(texts::kUseProgramFiles);
        }
    }
}

void Imports(const Scene& scene, Finding& found) {
    const auto libraries = ImportedLibraries(scene.image.value);
    if (!libraries) {
        found.Add(Verdict::Fail, texts::kImportsDamaged).Advise(texts::kRepair);
        found.Command(RepairCommand(scene));
        return;
    }
    for (const std::string& library : *libraries) {
        const std::wstring name = ToWide(library);
        // Names of API sets are resolved by the loader; they are no files.
        if (!name.starts_with(L"api-ms-") && !scene.FileExists(scene.machine.Folder(Place::System) + L"\\" + name)) {
            found.Add(Verdict::Fail, texts::kImportMissing, {name}).Advise(texts::kRepairWindows);
        }
    }
}

void ModuleSignature(const Scene& scene, Finding& found) {
    const Signature signature = scene.machine.SignatureOf(scene.module);
    std::uint32_t level = 0;
    switch (signature.state) {
    case SignatureState::Valid:
        found.Add(Verdict::Ok, texts::kSigned, {signature.signer});
        return;
    case SignatureState::Altered:
        found.Add(Verdict::Fail, texts::kSignatureBroken, {HexText(signature.code)});
        break;
    case SignatureState::Untrusted:
        found.Add(Verdict::Warn, texts::kSignatureUntrusted, {signature.signer, HexText(signature.code)});
        break;
    case SignatureState::None:
        if (IsBlockedByControl(scene) || AsksForSignature(scene, level)) {
            // The policies' readings are not confirmed on Windows.
            found.Add(Verdict::Warn, texts::kUnsignedBlocked);
        } else {
            found.Add(Verdict::Info, texts::kUnsigned);
            return;
        }
    }
    found.Advise(texts::kUseSigned);
}

const Text& ProbeAdvice(std::uint32_t code) {
    switch (code) {
    case ERROR_MOD_NOT_FOUND:
    case ERROR_PROC_NOT_FOUND:
        return texts::kProbeImport;
    case ERROR_BAD_EXE_FORMAT:
        return texts::kProbeBits;
    case ERROR_ACCESS_DENIED:
        return texts::kProbeAccess;
    case ERROR_ACCESS_DISABLED_BY_POLICY:
        return texts::kProbePolicy;
    default:
        return texts::kSendLog;
    }
}

void Probe(const Scene& scene, Finding& found) {
    if (IsLoaded(scene)) {
        found.Add(Verdict::Ok, texts::kProbeSkipped);
        return;
    }
    const ProbeResult result = scene.machine.Probe(scene.module);
    const std::wstring code = HexText(result.code);
    switch (result.end) {
    case ProbeResult::End::Done:
        break;
    case ProbeResult::End::NotStarted:
        found.Add(Verdict::Unknown, texts::kProbeNotStarted, {code}).Advise(texts::kSendLog);
        break;
    case ProbeResult::End::TimedOut:
        found.Add(Verdict::Fail, texts::kProbeTimedOut).Advise(texts::kSendLog);
        break;
    case ProbeResult::End::Failed:
        found.Add(Verdict::Fail, result.code >= kExceptions ? texts::kProbeCrashed : texts::kProbeFailed, {code});
        found.Advise(result.code < kLoadFailures ? ProbeAdvice(result.code) : texts::kSendLog);
        break;
    }
}

struct ControlLog {
    const wchar_t* channel;
    std::vector<std::uint32_t> ids;
};

const std::vector<ControlLog>& ControlLogs() {
    static const std::vector<ControlLog> logs = {
        {L"Microsoft-Windows-CodeIntegrity/Operational", {3033, 3077}},
        {L"Microsoft-Windows-AppLocker/EXE and DLL", {8004}},
    };
    return logs;
}

void ApplicationControl(const Scene& scene, Finding& found) {
    for (const ControlLog& log : ControlLogs()) {
        for (const Event& event : EventsOf(scene, log.channel, L"", log.ids, found)) {
            if (Contains(event.text, kModuleFile)) {
                found.Add(Verdict::Fail, texts::kControlEvent, {std::to_wstring(event.id), log.channel});
                found.Advise(texts::kAllowRule);
                break;
            }
        }
    }
    const auto smart = scene.Number(Hive::Machine, L"SYSTEM\\CurrentControlSet\\Control\\CI\\Policy",
                                    L"VerifiedAndReputablePolicyState");
    if (smart == 1U && scene.machine.SignatureOf(scene.module).state == SignatureState::None) {
        found.Add(Verdict::Warn, texts::kSmartControl).Advise(texts::kUseSigned);
    }
}

constexpr Check kChecks[] = {
    {L"F1", L"file", ModuleFile},
    {L"F2", L"mark-of-web", MarkOfWeb, &texts::kNoMark, Verdict::Warn, true},
    {L"F3", L"writable", Writable, &texts::kNotWritable, Verdict::Fail, true},
    {L"F4", L"imports", Imports, &texts::kImportsFine, Verdict::Fail, true},
    {L"F5", L"signature", ModuleSignature, nullptr, Verdict::Fail, true},
    {L"F6", L"probe", Probe, &texts::kProbeFine, Verdict::Fail, true},
    {L"F7", L"app-control", ApplicationControl, &texts::kNoControl, Verdict::Warn, true},
};

} // namespace

std::span<const Check> FileChecks() {
    return kChecks;
}

bool IsBlockedByControl(const Scene& scene) {
    Finding found(L"", L"", Verdict::Fail, scene.language);
    ApplicationControl(scene, found);
    return found.GetVerdict() >= Verdict::Warn;
}

} // namespace doctor
