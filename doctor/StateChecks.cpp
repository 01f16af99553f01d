#include "doctor/Checks.h"
#include "doctor/LogText.h"
#include "doctor/Texts.h"

#include <algorithm>
#include <iterator>

namespace doctor {
namespace {

constexpr unsigned long kSlowLoad = 500;  // ms
constexpr std::size_t kQuotedEvent = 400; // characters

std::wstring OutlookKey(const wchar_t* root, const wchar_t* version) {
    return root + std::wstring(version) + L"\\Outlook\\";
}

bool NamesAddIn(std::wstring_view text) {
    return Contains(text, registry::kProgId) || Contains(text, kModuleFile) || Contains(text, registry::kName);
}

/// Searches UTF-16 text in data of an undocumented layout, where it may begin at an odd offset.
bool NamesAddIn(const RegistryValue& value) {
    for (std::size_t start = 0; start < 2; ++start) {
        std::wstring text;
        for (std::size_t at = start; at + 1 < value.data.size(); at += 2) {
            text += static_cast<wchar_t>(value.data[at] | value.data[at + 1] << 8);
        }
        if (NamesAddIn(text)) {
            return true;
        }
    }
    return NamesAddIn(value.name);
}

/// Looks for the add-in in one of Outlook's lists of faulty add-ins.
void SearchList(const Scene& scene, const wchar_t* list, const Text& fact, const Text& fix, Finding& found) {
    for (const wchar_t* version : kOfficeVersions) {
        const std::wstring key = OutlookKey(kOfficeKey, version) + L"Resiliency\\" + list;
        const Answer<RegistryValues> values = scene.machine.Values(Hive::User, key);
        IsDenied(values.access, RegistryName(Hive::User, key), found);
        for (const RegistryValue& value : values.value) {
            if (NamesAddIn(value)) {
                found.Add(Verdict::Fail, fact, {RegistryName(Hive::User, key)}).Advise(fix);
                found.Offer({Repair::Kind::DeleteValue, key, value.name});
            }
        }
    }
}

void DisabledItems(const Scene& scene, Finding& found) {
    SearchList(scene, L"DisabledItems", texts::kDisabled, texts::kEnableItem, found);
}

void Crashing(const Scene& scene, Finding& found) {
    SearchList(scene, L"CrashingAddinList", texts::kCrashing, texts::kDeleteCrashing, found);
}

/// A value under Outlook's key of the user, in one of its versions.
Answer<RegistryValue> UserValue(const Scene& scene, const wchar_t* folder, std::wstring_view name) {
    for (const wchar_t* version : kOfficeVersions) {
        Answer<RegistryValue> value = scene.Value(Hive::User, OutlookKey(kOfficeKey, version) + folder, name);
        if (value) {
            return value;
        }
    }
    return {};
}

void Exempt(const Scene& scene, Finding& found) {
    static constexpr Text kReasons[] = {
        {L"未知", L"unknown"},
        {L"启动时加载缓慢", L"slow load at start"},
        {L"按需加载缓慢", L"slow load on demand"},
        {L"崩溃", L"crash"},
        {L"切换文件夹缓慢", L"slow after a change of folder"},
        {L"切换文件夹之前缓慢", L"slow before a change of folder"},
        {L"打开项目缓慢", L"slow opening of an item"},
        {L"调用过于频繁", L"too many repeated calls"},
        {L"关闭缓慢", L"slow shutdown"},
        {L"崩溃，但受策略保护", L"crash, but on the list of managed add-ins"},
        {L"崩溃，用户拒绝禁用", L"crash, and the user did not want it disabled"},
    };
    const auto number = UserValue(scene, L"Resiliency\\DoNotDisableAddinList", registry::kProgId)->Number();
    if (number) {
        const Text& reason = kReasons[*number < std::size(kReasons) ? *number : 0];
        found.Add(Verdict::Info, texts::kExempt, {reason[scene.language], std::to_wstring(*number)});
    }
}

void Reminder(const Scene& scene, Finding& found) {
    const bool told =
        UserValue(scene, L"Resiliency\\NotificationReminderAddinData", registry::kProgId) ||
        UserValue(scene, L"Resiliency\\NotificationReminderAddinData", registry::kProgId + std::wstring(L"\\dtype"));
    if (told) {
        found.Add(Verdict::Info, texts::kReminder);
    }
}

void LoadTimes(const Scene& scene, Finding& found) {
    const Answer<RegistryValue> times = UserValue(scene, L"AddInLoadTimes", registry::kProgId);
    std::wstring raw;
    for (const std::uint8_t byte : times->data) {
        const std::wstring digits = HexText(byte).substr(2);
        raw += (digits.size() < 2 ? L"0" : L"") + digits;
    }
    found.Add(Verdict::Ok, times ? texts::kTimes : texts::kNoTimes, {raw});
}

void OutlookEvents(const Scene& scene, Finding& found) {
    bool slow = false;
    for (const Event& event : EventsOf(scene, L"Application", L"Outlook", {45, 59}, found)) {
        if (event.id == 59 && Contains(event.text, registry::kProgId)) {
            found.Add(Verdict::Fail, texts::kDisableEvent, {event.text.substr(0, kQuotedEvent)});
            found.Advise(texts::kMakeManaged);
            return;
        }
        for (const auto& [progId, time] : BootTimes(event.id == 45 ? event.text : L"")) {
            if (time > kSlowLoad && !slow && SameText(progId, registry::kProgId)) {
                found.Add(Verdict::Warn, texts::kSlow, {std::to_wstring(time)}).Advise(texts::kMakeManaged);
                slow = true;
            }
        }
    }
}

void CrashEvents(const Scene& scene, Finding& found) {
    for (const Event& event : EventsOf(scene, L"Application", L"", {1000, 1001}, found)) {
        if (Contains(event.text, L"OUTLOOK.EXE") && Contains(event.text, kModuleFile)) {
            found.Add(Verdict::Fail, texts::kCrashEvent, {std::to_wstring(event.id)}).Advise(texts::kSendLog);
            return;
        }
    }
}

/// The keys below which a policy of Outlook's add-in resiliency may stand. Microsoft's page has named both.
std::vector<std::wstring> ResiliencyPolicies() {
    std::vector<std::wstring> keys;
    for (const wchar_t* root : {kPolicyKey, kOfficeKey}) {
        for (const wchar_t* version : kOfficeVersions) {
            keys.push_back(OutlookKey(root, version) + L"Resiliency");
        }
    }
    return keys;
}

/// The policy's value for the add-in as a text; empty without one.
std::wstring ManagedAs(const Scene& scene, const std::wstring& policies) {
    const Answer<RegistryValue> value = scene.Value(Hive::User, policies + L"\\AddinList", registry::kProgId);
    const auto number = value->Number();
    return number ? std::to_wstring(*number) : value->Text().value_or(L"");
}

void Managed(const Scene& scene, Finding& found) {
    for (const std::wstring& policies : ResiliencyPolicies()) {
        const std::wstring name = RegistryName(Hive::User, policies + L"\\AddinList");
        IsDenied(scene.machine.Values(Hive::User, policies + L"\\AddinList").access, name, found);
        const std::wstring value = ManagedAs(scene, policies);
        if (value == L"0") {
            found.Add(Verdict::Fail, texts::kManagedOff, {name}).Advise(texts::kAskAdministration);
        } else if (value == L"1" || value == L"2") {
            found.Add(Verdict::Ok, texts::kManagedOn, {name, value});
        } else if (!value.empty()) {
            found.Add(Verdict::Warn, texts::kManagedStrange, {name, value}).Advise(texts::kAskAdministration);
        }
    }
}

void OnlyListed(const Scene& scene, Finding& found) {
    bool restricted = false;
    bool listed = false;
    for (const std::wstring& policies : ResiliencyPolicies()) {
        const std::wstring value = ManagedAs(scene, policies);
        restricted = restricted || scene.Number(Hive::User, policies, L"RestrictToList") == 1U;
        listed = listed || value == L"1" || value == L"2";
    }
    if (restricted && !listed) {
        found.Add(Verdict::Fail, texts::kRestricted).Advise(texts::kAddToList, {registry::kProgId});
    }
}

void MacroSecurity(const Scene& scene, Finding& found) {
    std::uint32_t level = 0;
    if (!AsksForSignature(scene, level)) {
        return;
    }
    if (scene.module.empty() || scene.machine.SignatureOf(scene.module).state == SignatureState::Valid) {
        found.Add(Verdict::Info, texts::kSignaturePolicy, {std::to_wstring(level)});
    } else {
        found.Add(Verdict::Fail, texts::kSignaturePolicy, {std::to_wstring(level)}).Advise(texts::kTrustPublisher);
    }
}

void OtherHostsNames(const Scene& scene, Finding& found) {
    for (const wchar_t* root : {kPolicyKey, kOfficeKey}) {
        for (const wchar_t* version : kOfficeVersions) {
            for (const wchar_t* name : {L"RequireAddinSig", L"DisableAllAddins"}) {
                if (scene.Number(Hive::User, OutlookKey(root, version) + L"Security", name).value_or(0) != 0) {
                    found.Add(Verdict::Info, texts::kOtherNames, {name});
                }
            }
        }
    }
}

constexpr Check kChecks[] = {
    {L"D1", L"disabled-items", DisabledItems, &texts::kNotListed},
    {L"D2", L"crashing", Crashing, &texts::kNotListed},
    {L"D3", L"exempt", Exempt, &texts::kNoExempt},
    {L"D4", L"reminder", Reminder, &texts::kNoReminder, Verdict::Warn},
    {L"D5", L"load-times", LoadTimes},
    {L"E1", L"events", OutlookEvents, &texts::kNoEvents},
    {L"E2", L"crashes", CrashEvents, &texts::kNoEvents, Verdict::Warn},
    {L"P1", L"managed", Managed, &texts::kNotManaged},
    {L"P2", L"only-listed", OnlyListed, &texts::kNotRestricted, Verdict::Warn},
    {L"P3", L"macro-security", MacroSecurity, &texts::kNoSignaturePolicy, Verdict::Warn},
    {L"P4", L"other-hosts-names", OtherHostsNames, &texts::kNoOtherNames},
};

} // namespace

std::span<const Check> StateChecks() {
    return kChecks;
}

bool AsksForSignature(const Scene& scene, std::uint32_t& level) {
    constexpr std::uint32_t kSignedOnly = 2;
    for (const wchar_t* root : {kPolicyKey, kOfficeKey}) {
        for (const wchar_t* version : kOfficeVersions) {
            const std::wstring key = OutlookKey(root, version) + L"Security";
            level = scene.Number(Hive::User, key, L"Level").value_or(0);
            if (level >= kSignedOnly && scene.Number(Hive::User, key, L"DontTrustInstalledFiles") == 1U) {
                return true;
            }
        }
    }
    return false;
}

} // namespace doctor
