#include "doctor/Checks.h"
#include "doctor/Texts.h"

#include "Outlook/AddIns/LogValues.h"
#include "resources/Connect.h"

#include <algorithm>

namespace doctor {
namespace {

constexpr std::uint32_t kKillBit = 0x400;
constexpr const wchar_t* kBehaviourName = L"LoadBehavior";

const std::wstring& ServerKey() {
    static const std::wstring key = std::wstring(registry::kClassKey) + L"\\InprocServer32";
    return key;
}

bool KeyExists(const Scene& scene, Hive hive, const std::wstring& key, Finding& found) {
    const Access access = scene.machine.Values(hive, key).access;
    IsDenied(access, RegistryName(hive, key), found);
    return access == Access::Found;
}

/// Compares the computer's entries with those entries of the product's table that `wanted` accepts. Paths of the module
/// and numbers have checks of their own.
template <class Wanted>
void CompareEntries(const Scene& scene, Verdict verdict, Finding& found, Wanted wanted) {
    for (const registry::Value& entry : registry::kValues) {
        const std::wstring key = MachineKey(entry);
        if (entry.text == nullptr || !wanted(entry)) {
            continue;
        }
        const std::wstring name = entry.name == nullptr ? L"" : entry.name;
        const Answer<RegistryValue> value = scene.Value(Hive::Machine, key, name);
        const std::wstring text = value->Text().value_or(L"");
        if (!IsDenied(value.access, RegistryName(Hive::Machine, key), found) && !SameText(text, entry.text)) {
            const std::wstring place = RegistryName(Hive::Machine, key) + (name.empty() ? L"" : L", " + name);
            found.Add(verdict, texts::kEntryDiffers, {place, entry.text, text}).Advise(texts::kRepair);
        }
    }
}

void OfferRepair(const Scene& scene, Finding& found) {
    if (found.GetVerdict() >= Verdict::Warn && found.Commands().empty()) {
        found.Command(RepairCommand(scene));
    }
}

void AddInKey(const Scene& scene, Finding& found) {
    if (!KeyExists(scene, Hive::Machine, registry::kAddInKey, found)) {
        if (found.GetVerdict() != Verdict::Unknown) {
            found.Add(Verdict::Fail, texts::kNotRegistered).Advise(texts::kInstall);
        }
    } else {
        found.Add(Verdict::Ok, texts::kRegistered);
        CompareEntries(scene, Verdict::Warn, found,
                       [](const registry::Value& entry) { return MachineKey(entry) == registry::kAddInKey; });
    }
    OfferRepair(scene, found);
}

void SecondView(const Scene& scene, Finding& found) {
    const struct {
        std::wstring here;
        std::wstring second;
    } keys[] = {{registry::kAddInKey,
                 L"SOFTWARE\\WOW6432Node\\" + std::wstring(registry::kAddInKey).substr(std::size(L"SOFTWARE\\") - 1)},
                {std::wstring(kClassesKey) + registry::kClassKey,
                 std::wstring(kClassesKey) + L"WOW6432Node\\" + registry::kClassKey}};
    for (const auto& key : keys) {
        if (KeyExists(scene, Hive::Machine, key.second, found)) {
            const bool both = KeyExists(scene, Hive::Machine, key.here, found);
            found.Add(both ? Verdict::Warn : Verdict::Fail, both ? texts::kBothViews : texts::kOnlySecondView,
                      {RegistryName(Hive::Machine, key.second)});
            found.Advise(texts::kUse64BitTool).Command(DeleteCommand(key.second));
        }
    }
    if (found.GetVerdict() == Verdict::Fail) {
        found.Command(RepairCommand(scene));
    }
}

void MachineBehaviour(const Scene& scene, Finding& found) {
    const std::wstring key = registry::kAddInKey;
    if (!KeyExists(scene, Hive::Machine, key, found)) {
        found.Add(Verdict::Info, texts::kNotRegistered); // R1 reports it
        return;
    }
    const std::wstring name = RegistryName(Hive::Machine, key);
    const auto number = scene.Number(Hive::Machine, key, kBehaviourName);
    const std::wstring text = number ? std::to_wstring(*number) : L"";
    if (number == 3U) {
        found.Add(Verdict::Ok, texts::kBehaviour, {name, text});
        return;
    }
    if (!number) {
        found.Add(Verdict::Fail, texts::kNoBehaviour, {name});
    } else if (*number == 9 || *number == 16) {
        found.Add(Verdict::Warn, texts::kBehaviour, {name, text}).Add(Verdict::Warn, texts::kBehaviourDemand);
    } else {
        found.Add(Verdict::Fail, texts::kBehaviour, {name, text});
        found.Add(Verdict::Fail, *number == 2 ? texts::kBehaviourError : texts::kBehaviourOff);
    }
    found.Advise(number == 2U ? texts::kSetBehaviour : texts::kAdministratorSets);
    found.Command(L"reg add \"" + name + L"\" /v LoadBehavior /t REG_DWORD /d 3 /f /reg:64");
}

void UserBehaviour(const Scene& scene, Finding& found) {
    std::vector<std::wstring> keys = {registry::kAddInKey};
    for (const wchar_t* version : kOfficeVersions) {
        keys.push_back(kOfficeKey + std::wstring(version) + L"\\Outlook\\Addins\\" + registry::kProgId);
    }
    for (const std::wstring& key : keys) {
        const Answer<RegistryValue> value = scene.Value(Hive::User, key, kBehaviourName);
        const std::wstring name = RegistryName(Hive::User, key);
        if (IsDenied(value.access, name, found) || !value) {
            continue;
        }
        const auto number = value->Number();
        const std::wstring text = number ? std::to_wstring(*number) : L"?";
        if (number == 3U) {
            found.Add(Verdict::Ok, texts::kBehaviour, {name, text});
            continue;
        }
        found.Add(Verdict::Fail, texts::kBehaviour, {name, text}).Add(Verdict::Fail, texts::kUserWins);
        found.Advise(texts::kEnableInList).Offer({Repair::Kind::DeleteValue, key, kBehaviourName});
    }
}

void StreamedShadow(const Scene& scene, Finding& found) {
    const std::wstring root = kStreamedKey;
    const std::wstring addIn = root + std::wstring(registry::kAddInKey).substr(std::size(L"SOFTWARE\\") - 1);
    const std::wstring classKey = root + L"Classes\\" + registry::kClassKey;
    const std::wstring progId = root + L"Classes\\" + registry::kProgId;
    for (const std::wstring& key : {addIn, classKey, progId}) {
        if (!KeyExists(scene, Hive::Machine, key, found)) {
            continue;
        }
        const std::wstring name = RegistryName(Hive::Machine, key);
        const auto number = scene.Number(Hive::Machine, addIn, kBehaviourName);
        const std::wstring path = scene.Text(Hive::Machine, classKey + L"\\InprocServer32");
        if (key == addIn && number != 3U) {
            found.Add(Verdict::Fail, texts::kShadowDiffers, {name, number ? std::to_wstring(*number) : L"?"});
        } else if (key == classKey && !SameText(path, scene.module)) {
            found.Add(Verdict::Fail, texts::kShadowDiffers, {name, path});
        } else {
            found.Add(Verdict::Warn, texts::kShadow, {name});
        }
        found.Advise(texts::kAdministratorDeletes).Command(DeleteCommand(key));
    }
}

void ProgIds(const Scene& scene, Finding& found) {
    const auto isClassId = [](const registry::Value& entry) {
        return entry.subKey != nullptr && std::wstring_view(entry.subKey) == L"CLSID";
    };
    const auto belongs = [](const registry::Value& entry) {
        return std::wstring_view(entry.key).starts_with(registry::kProgId);
    };
    CompareEntries(scene, Verdict::Fail, found,
                   [&](const registry::Value& entry) { return belongs(entry) && isClassId(entry); });
    CompareEntries(scene, Verdict::Warn, found,
                   [&](const registry::Value& entry) { return belongs(entry) && !isClassId(entry); });
    OfferRepair(scene, found);
}

bool IsFullPath(const std::wstring& path) {
    return path.size() > 3 && path.find(L'"') == std::wstring::npos && (path[1] == L':' || path.starts_with(L"\\\\"));
}

void ServerPath(const Scene& scene, Finding& found) {
    const std::wstring key = kClassesKey + ServerKey();
    const Answer<RegistryValue> value = scene.Value(Hive::Machine, key, {});
    const std::wstring path = value->Text().value_or(L"");
    if (IsDenied(value.access, RegistryName(Hive::Machine, key), found)) {
        return;
    }
    if (path.empty()) {
        found.Add(Verdict::Fail, texts::kNoServer);
    } else if (!IsFullPath(path)) {
        found.Add(Verdict::Fail, texts::kPathNotFull, {path});
    } else if (!scene.FileExists(path)) {
        found.Add(Verdict::Fail, texts::kFileMissing, {path});
    } else {
        const std::wstring installed = scene.machine.Folder(Place::Installed) + L"\\" + kModuleFile;
        found.Add(Verdict::Ok, texts::kServerAt, {path});
        if (scene.FileExists(installed) && !SameText(installed, path)) {
            found.Add(Verdict::Warn, texts::kOtherCopy, {installed});
        }
        CompareEntries(scene, Verdict::Warn, found, [](const registry::Value& entry) {
            return std::wstring_view(entry.key) == registry::kClassKey;
        });
    }
    found.Advise(texts::kRepair);
    OfferRepair(scene, found);
}

void UserClasses(const Scene& scene, Finding& found) {
    const auto judge = [&](const std::wstring& key, const std::wstring& subKey, const std::wstring& expected) {
        if (!KeyExists(scene, Hive::User, kClassesKey + key, found)) {
            return;
        }
        const std::wstring text = scene.Text(Hive::User, kClassesKey + key + subKey);
        const std::wstring name = RegistryName(Hive::User, kClassesKey + key);
        const bool same = SameText(text, expected);
        found.Add(same ? Verdict::Warn : Verdict::Fail, same ? texts::kUserClass : texts::kUserClassOther,
                  {name, text});
        found.Advise(texts::kDeleteUserClass).Offer({Repair::Kind::DeleteKey, kClassesKey + key, {}});
    };
    judge(registry::kClassKey, L"\\InprocServer32", scene.Text(Hive::Machine, kClassesKey + ServerKey()));
    judge(registry::kProgId, L"\\CLSID", registry::kClassId);
}

void TypeLibrary(const Scene& scene, Finding& found) {
    const std::wstring key = std::wstring(L"TypeLib\\") + IdText(LIBID_NBMOutlookAddin).text;
    const std::wstring path = scene.ClassText(key + L"\\1.0\\0\\win64");
    if (!path.empty() && !scene.FileExists(path)) {
        found.Add(Verdict::Warn, texts::kLibraryMissing, {path}).Advise(texts::kAdministratorDeletes);
        found.Command(DeleteCommand(kClassesKey + key));
    }
}

void KillBit(const Scene& scene, Finding& found) {
    const std::wstring compatibility =
        std::wstring(L"Microsoft\\Office\\16.0\\Common\\COM Compatibility\\") + registry::kClassId;
    for (const std::wstring& key : {L"SOFTWARE\\" + compatibility, kStreamedKey + compatibility}) {
        if ((scene.Number(Hive::Machine, key, L"Compatibility Flags").value_or(0) & kKillBit) != 0) {
            found.Add(Verdict::Fail, texts::kKillBit, {RegistryName(Hive::Machine, key)});
            found.Advise(texts::kAskAdministration);
        }
    }
}

constexpr Check kChecks[] = {
    {L"R1", L"key", AddInKey},
    {L"R2", L"wrong-view", SecondView, &texts::kNoSecondView},
    {L"R3", L"machine-LoadBehavior", MachineBehaviour},
    {L"R4", L"user-LoadBehavior", UserBehaviour, &texts::kNoUserValue},
    {L"R5", L"c2r-shadow", StreamedShadow, &texts::kNoShadow},
    {L"R6", L"progid", ProgIds, &texts::kNamesLead},
    {L"R7", L"server-path", ServerPath},
    {L"R8", L"user-classes", UserClasses, &texts::kNoUserClass},
    {L"R9", L"typelib", TypeLibrary, &texts::kLibraryFine},
    {L"R10", L"kill-bit", KillBit, &texts::kNoKillBit},
};

} // namespace

std::span<const Check> RegistrationChecks() {
    return kChecks;
}

} // namespace doctor
