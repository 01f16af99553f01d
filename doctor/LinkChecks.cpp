#include "doctor/Checks.h"
#include "doctor/LogText.h"
#include "doctor/Texts.h"

#include "support/Text.h"

#include <algorithm>

namespace doctor {
namespace {

constexpr std::size_t kReadLog = 1U << 20U;        // bytes from the log's end
constexpr std::uint64_t kLittleSpace = 10U << 20U; // bytes
constexpr const wchar_t* kServerWindow = L"NbmProxyOutlookServerWnd";
constexpr const wchar_t* kTaskWindow = L"NBM_OUTLOOK_ADDIN_MSGWND";
constexpr const wchar_t* kClientWindow = L"NbmProxyOutlookClientWnd";
constexpr const wchar_t* kScheme = L"quorvex";

/// Whether this log shows that Outlook's process has loaded the add-in.
void JudgeLog(const Scene& scene, const std::string& text, Finding& found) {
    const std::vector<LogEntry> entries = ParseLog(text);
    const LogEntry* load = nullptr;
    const LogEntry* error = nullptr;
    for (const LogEntry& entry : entries) {
        const bool mine = std::any_of(scene.outlooks.begin(), scene.outlooks.end(), [&](const Process& outlook) {
            return outlook.id == entry.process && entry.time >= outlook.started;
        });
        if (!mine && !scene.outlooks.empty()) {
            continue;
        }
        if (entry.text.starts_with(kLoadMark)) {
            load = &entry;
            error = nullptr;
        } else if (entry.level == "Err") {
            error = &entry;
        }
    }
    // A longer log than was read may have begun before Outlook did.
    const bool whole = text.size() < kReadLog || (!entries.empty() && !scene.outlooks.empty() &&
                                                  entries.front().time < scene.outlooks.front().started);
    if (load != nullptr) {
        found.Add(Verdict::Ok, texts::kLastLoad, {ToWide(load->time)});
    } else if (!scene.outlooks.empty() && whole && !IsLoaded(scene)) {
        found.Add(Verdict::Fail, texts::kNeverLoaded).Advise(texts::kRestart);
    }
    if (error != nullptr) {
        found.Add(Verdict::Warn, texts::kLogError, {ToWide(error->text)}).Advise(texts::kSendLog);
    }
}

void AddInLog(const Scene& scene, Finding& found) {
    constexpr const wchar_t* kFile = L"\\outlookaddin.txt";
    const std::wstring folder = scene.machine.Folder(Place::Log);
    const Answer<std::string> log = scene.machine.Tail(folder + kFile, kReadLog);
    if (!IsDenied(log.access, folder + kFile, found)) {
        if (!log) {
            found.Add(Verdict::Ok, texts::kNoLog);
        }
        JudgeLog(scene, log.value, found);
    }
    // The add-in makes a missing folder itself, in the nearest folder that exists.
    for (std::wstring place = folder; !place.empty(); place = Parent(place)) {
        const Answer<bool> writable = scene.machine.Writable(place);
        if (writable.access == Access::Absent) {
            continue;
        }
        if (!IsDenied(writable.access, place, found) && !writable.value) {
            found.Add(Verdict::Warn, texts::kLogFolder, {place}).Advise(texts::kLogRights);
        }
        const auto free = scene.machine.FreeBytes(place);
        if (free && *free < kLittleSpace) {
            found.Add(Verdict::Warn, texts::kDiskFull, {std::to_wstring(*free)}).Advise(texts::kFreeSpace);
        }
        break;
    }
}

void AddInWindows(const Scene& scene, Finding& found) {
    if (!IsLoaded(scene)) {
        found.Add(Verdict::Ok, scene.outlooks.empty() ? texts::kNotRunning : texts::kRunsWithout);
        return;
    }
    for (const wchar_t* name : {kServerWindow, kTaskWindow}) {
        const std::vector<std::uint32_t> owners = scene.machine.WindowOwners(name);
        const bool there = std::any_of(scene.outlooks.begin(), scene.outlooks.end(), [&](const Process& outlook) {
            return std::find(owners.begin(), owners.end(), outlook.id) != owners.end();
        });
        if (!there) {
            found.Add(Verdict::Fail, texts::kWindowMissing, {name}).Advise(texts::kRestart);
        }
    }
}

void InterfaceErrors(const Scene& scene, Finding& found) {
    const auto keyOf = [](const wchar_t* version) { return kOfficeKey + std::wstring(version) + L"\\Common\\General"; };
    const wchar_t* name = L"ReportAddinCustomUIErrors";
    for (const wchar_t* version : kOfficeVersions) {
        if (scene.Number(Hive::User, keyOf(version), name) == 1U) {
            found.Add(Verdict::Ok, texts::kReported);
            return;
        }
    }
    found.Add(Verdict::Info, texts::kUnreported).Advise(texts::kReport);
    const FileVersion version = scene.machine.Version(scene.outlook).value;
    found.Offer({Repair::Kind::SetNumber, keyOf(kOfficeVersions[version.part[0] == 15 ? 1 : 0]), name, 1});
}

void Client(const Scene& scene, Finding& found) {
    const std::vector<std::uint32_t> owners = scene.machine.WindowOwners(kClientWindow);
    if (owners.empty()) {
        found.Add(Verdict::Info, texts::kNoClient);
    } else if (owners.size() > 1) {
        found.Add(Verdict::Warn, texts::kTwoClients, {std::to_wstring(owners.size())}).Advise(texts::kCloseOne);
    }
    for (const std::uint32_t id : owners) {
        const std::wstring path = scene.machine.ProcessOf(id).path;
        const Signature signature = scene.machine.SignatureOf(path);
        found.Add(Verdict::Ok, texts::kClientRuns, {path.empty() ? std::to_wstring(id) : path});
        if (signature.state == SignatureState::Altered) {
            found.Add(Verdict::Warn, texts::kSignatureBroken, {HexText(signature.code)});
            found.Advise(texts::kReinstallClient);
        } else if (!signature.signer.empty()) {
            found.Add(Verdict::Ok, texts::kSigned, {signature.signer});
        }
    }
}

void Scheme(const Scene& scene, Finding& found) {
    const std::wstring key = std::wstring(kClassesKey) + kScheme;
    const bool user = static_cast<bool>(scene.machine.Values(Hive::User, key));
    const bool machine = static_cast<bool>(scene.machine.Values(Hive::Machine, key));
    const Hive hive = user ? Hive::User : Hive::Machine;
    const std::wstring program = ProgramOf(scene.Text(hive, key + L"\\shell\\open\\command"));
    if (!user && IsDenied(scene.machine.Values(Hive::Machine, key).access, RegistryName(hive, key), found)) {
        return;
    }
    if (program.empty() || !scene.Value(hive, key, L"URL Protocol")) {
        found.Add(Verdict::Fail, texts::kNoScheme).Advise(texts::kReinstallClient);
    } else if (!scene.FileExists(program)) {
        found.Add(Verdict::Fail, texts::kFileMissing, {program}).Advise(texts::kReinstallClient);
    } else {
        found.Add(Verdict::Ok, texts::kSchemeFine, {program});
    }
    if (user && machine) {
        found.Add(Verdict::Warn, texts::kUserScheme).Advise(texts::kReinstallClient);
        found.Offer({Repair::Kind::DeleteKey, key, {}});
    }
}

void AttackSurface(const Scene& scene, Finding& found) {
    const std::wstring rules =
        L"SOFTWARE\\Policies\\Microsoft\\Windows Defender\\Windows Defender Exploit Guard\\ASR\\Rules";
    constexpr const wchar_t* kIds[] = {L"26190899-1602-49e8-8b27-eb1d0a1ce869",  // child processes of Outlook
                                       L"d4f940ab-401b-4efc-aadc-ad5f3c50688a"}; // child processes of Office
    IsDenied(scene.machine.Values(Hive::Machine, rules).access, RegistryName(Hive::Machine, rules), found);
    for (const wchar_t* id : kIds) {
        const Answer<RegistryValue> value = scene.Value(Hive::Machine, rules, id);
        const auto number = value->Number();
        const std::wstring mode = number ? std::to_wstring(*number) : value->Text().value_or(L"");
        if (mode == L"1") {
            found.Add(Verdict::Warn, texts::kRuleBlocks, {id}).Advise(texts::kExcludeClient);
        } else if (mode == L"2" || mode == L"6") {
            found.Add(Verdict::Info, texts::kRuleAudits, {id});
        }
    }
    for (const Event& event :
         EventsOf(scene, L"Microsoft-Windows-Windows Defender/Operational", L"", {1121, 1122}, found)) {
        const bool ours = Contains(event.text, kIds[0]) || Contains(event.text, kIds[1]);
        if (ours && event.id == 1121 && Contains(event.text, L"OUTLOOK.EXE")) {
            found.Add(Verdict::Fail, texts::kRuleEvent, {std::to_wstring(event.id)}).Advise(texts::kExcludeClient);
            break;
        }
    }
}

constexpr Check kChecks[] = {
    {L"L1", L"log", AddInLog, &texts::kLogFine},
    {L"L2", L"windows", AddInWindows, &texts::kWindowsFine},
    {L"L3", L"ui-errors", InterfaceErrors},
    {L"C1", L"client", Client},
    {L"C2", L"scheme", Scheme},
    {L"C3", L"ASR", AttackSurface, &texts::kNoRule, Verdict::Warn}, // its key is not confirmed on Windows
};

} // namespace

std::span<const Check> LinkChecks() {
    return kChecks;
}

} // namespace doctor
