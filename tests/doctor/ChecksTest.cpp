#include "doctor/Report.h"
#include "support/Text.h"
#include "tests/doctor/PlantedMachine.h"

#include <gmock/gmock.h>

#include <iterator>
#include <sstream>

using doctor::Finding;
using doctor::Hive;
using doctor::Process;
using doctor::Scene;
using doctor::SignatureState;
using doctor::Verdict;

namespace {

using M = PlantedMachine;

const std::wstring kOffice = L"SOFTWARE\\Microsoft\\Office\\";
const std::wstring kPolicies = L"SOFTWARE\\Policies\\Microsoft\\Office\\";
const std::wstring kOutlook16 = kOffice + L"16.0\\Outlook\\";
const std::wstring kClass = std::wstring(L"SOFTWARE\\Classes\\") + registry::kClassKey;
const std::wstring kServer = kClass + L"\\InprocServer32";
const std::wstring kAddIn = registry::kAddInKey;
const std::wstring kProgId = registry::kProgId;
const std::wstring kStreamed = doctor::kStreamedKey;
const std::wstring kRules =
    L"SOFTWARE\\Policies\\Microsoft\\Windows Defender\\Windows Defender Exploit Guard\\ASR\\Rules";
const std::string kLoadLine = "[2026-01-02 10:00:01.000][P:7/T:1][Inf][DllMain:30 DllMain]Built at Nov 1 2026\r\n";
const std::string kErrorLine = "[2026-01-02 10:00:02.000][P:7/T:1][Err][AddIn:1 AddIn::Init]LoadTypelib faile: 1\r\n";

/// One planted fact and the verdict that it must lead to.
struct Row {
    const char* fact;
    void (*plant)(M& machine);
    const wchar_t* id;
    Verdict verdict;
    const wchar_t* part = L"";   ///< of the finding's text
    std::size_t repairs = 0;     ///< that the user can make
    const wchar_t* others = L""; ///< checks that find the same fault from another side
};

const Finding* FindById(const std::vector<Finding>& findings, std::wstring_view id) {
    for (const Finding& finding : findings) {
        if (finding.Id() == id) {
            return &finding;
        }
    }
    return nullptr;
}

void Check(const std::vector<Row>& rows) {
    for (const Row& row : rows) {
        SCOPED_TRACE(row.fact);
        M machine;
        row.plant(machine);
        for (const Language language : {Language::English, Language::Chinese}) {
            const auto findings = doctor::RunChecks(Scene(machine, language));
            const Finding* finding = FindById(findings, row.id);
            ASSERT_NE(finding, nullptr);
            EXPECT_STREQ(doctor::VerdictText(finding->GetVerdict()), doctor::VerdictText(row.verdict))
                << ToUtf8(finding->Fact());
            if (language == Language::English) {
                EXPECT_THAT(ToUtf8(finding->Fact()), testing::HasSubstr(ToUtf8(row.part)));
            }
            EXPECT_EQ(finding->Repairs().size(), row.repairs);
            EXPECT_EQ(finding->Fix().empty(), row.verdict == Verdict::Ok || row.verdict == Verdict::Info);
            // No other check complains.
            std::wistringstream list(row.others);
            const std::set<std::wstring> others{std::istream_iterator<std::wstring, wchar_t>(list), {}};
            for (const Finding& other : findings) {
                if (other.Id() != std::wstring(row.id) && others.count(other.Id()) == 0) {
                    EXPECT_LE(other.GetVerdict(), Verdict::Info) << ToUtf8(other.Id()) << " " << ToUtf8(other.Fact());
                }
            }
        }
    }
}

std::string Zone(char zone) {
    return std::string("[ZoneTransfer]\r\nZoneId=") + zone + "\r\n";
}

/// Outlook runs and has loaded the add-in, which has made its windows and its log.
void Load(M& machine) {
    machine.StartOutlook({kModulePath});
    machine.windows[L"NbmProxyOutlookServerWnd"] = {7};
    machine.windows[L"NBM_OUTLOOK_ADDIN_MSGWND"] = {7};
    machine.files[kLogPath + L"\\outlookaddin.txt"] = kLoadLine;
}

doctor::RegistryValue Binary(const std::wstring& text, bool odd) {
    std::vector<std::uint8_t> data = {1, 0, 0, 0};
    data.resize(odd ? 5 : 4);
    for (const wchar_t unit : text) {
        data.push_back(static_cast<std::uint8_t>(unit & 0xFF));
        data.push_back(static_cast<std::uint8_t>(unit >> 8));
    }
    return {L"A1B2", REG_BINARY, data};
}

} // namespace

TEST(HealthyMachine, IsFineEverywhere) {
    M machine;
    for (const bool running : {false, true}) {
        if (running) {
            Load(machine);
            machine.windows[L"NbmProxyOutlookClientWnd"] = {9};
        }
        const auto findings = doctor::RunChecks(Scene(machine, Language::English));
        EXPECT_EQ(findings.size(), running ? 12U : doctor::AllChecks().size());
        for (const Finding& finding : findings) {
            EXPECT_LE(finding.GetVerdict(), Verdict::Info) << ToUtf8(finding.Id()) << " " << ToUtf8(finding.Fact());
        }
        EXPECT_EQ(doctor::CodeOf(findings), doctor::kNothingFound);
    }
}

TEST(Checks, OfTheHost) {
    Check({
        {"no Outlook", [](M& m) { m.files.erase(kOutlookPath); }, L"H1", Verdict::Fail, L"no classic Outlook"},
        {"Outlook by its COM server",
         [](M& m) {
             m.keys.erase({Hive::Machine, L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\App Paths\\OUTLOOK.EXE"});
             m.Put(Hive::Machine, L"SOFTWARE\\Classes\\Outlook.Application\\CLSID", L"", L"{1}");
             m.Put(Hive::Machine, L"SOFTWARE\\Classes\\CLSID\\{1}\\LocalServer32", L"", kOutlookPath + L" /x");
         },
         L"H1", Verdict::Ok, L"OUTLOOK.EXE"},
        {"32-bit", [](M& m) { made::Put(m.files[kOutlookPath], made::kHeaders + 4, 0x014C, 2); }, L"H2", Verdict::Fail,
         L"32-bit"},
        {"ARM", [](M& m) { made::Put(m.files[kOutlookPath], made::kHeaders + 4, 0xAA64, 2); }, L"H2", Verdict::Warn,
         L"ARM64"},
        {"no program", [](M& m) { m.files[kOutlookPath] = "text"; }, L"H2", Verdict::Warn},
        {"unreadable", [](M& m) { m.deniedFiles = {kOutlookPath}; }, L"H2", Verdict::Unknown, L"denied"},
        {"recorded as 32-bit",
         [](M& m) { m.Put(Hive::Machine, kOffice + L"ClickToRun\\Configuration", L"Platform", L"x86"); }, L"H2",
         Verdict::Info, L"x86"},
        {"old",
         [](M& m) {
             m.versions[kOutlookPath] = {{14, 0, 0, 0}};
         },
         L"H3", Verdict::Fail, L"14.0.0.0"},
        {"switched", [](M& m) { m.Put(Hive::User, kOutlook16 + L"Preferences", L"UseNewOutlook", 1U); }, L"H4",
         Verdict::Warn, L"new Outlook", 1},
        {"new one runs", [](M& m) { m.newOutlookRuns = true; }, L"H4", Verdict::Warn},
        {"migration",
         [](M& m) {
             m.Put(Hive::User, kPolicies + L"16.0\\Outlook\\Options\\General", L"DoNewOutlookAutoMigration", 1U);
         },
         L"H4", Verdict::Warn, L"DoNewOutlookAutoMigration"},
        {"safe mode", [](M& m) { m.StartOutlook().commandLine = L"OUTLOOK.EXE /SAFE"; }, L"H5", Verdict::Fail, L"/safe",
         0, L"L1"},
        {"other copy", [](M& m) { m.StartOutlook({L"D:\\OutlookAddIn.dll"}); }, L"H5", Verdict::Fail, L"D:\\", 0,
         L"L1"},
        {"modules denied", [](M& m) { m.StartOutlook().modules.reset(); }, L"H5", Verdict::Unknown, L"", 0, L"L1"},
        {"levels",
         [](M& m) {
             Load(m);
             m.windows[L"NbmProxyOutlookClientWnd"] = {9};
             m.client.integrity = 0x3000;
         },
         L"H6", Verdict::Warn, L"different levels"},
    });
}

TEST(Checks, OfTheRegistration) {
    Check({
        {"no key",
         [](M& m) {
             m.keys.erase({Hive::Machine, kAddIn});
         },
         L"R1", Verdict::Fail, L"not in Outlook's list"},
        {"key denied",
         [](M& m) {
             m.deniedKeys = {{Hive::Machine, kAddIn}};
         },
         L"R1", Verdict::Unknown, L"HKLM", 0, L"R3"},
        {"other name", [](M& m) { m.Put(Hive::Machine, kAddIn, L"FriendlyName", L"X"); }, L"R1", Verdict::Warn,
         L"\"X\""},
        {"both views",
         [](M& m) {
             m.Put(Hive::Machine, L"SOFTWARE\\Classes\\WOW6432Node\\" + std::wstring(registry::kClassKey), L"", L"");
         },
         L"R2", Verdict::Warn, L"as well"},
        {"wrong view",
         [](M& m) {
             m.keys.erase({Hive::Machine, kAddIn});
             m.Put(Hive::Machine, L"SOFTWARE\\WOW6432Node\\" + kAddIn.substr(9), L"LoadBehavior", 3U);
         },
         L"R2", Verdict::Fail, L"32-bit view only", 0, L"R1"},
        {"2", [](M& m) { m.Put(Hive::Machine, kAddIn, L"LoadBehavior", 2U); }, L"R3", Verdict::Fail, L"failed to load"},
        {"0", [](M& m) { m.Put(Hive::Machine, kAddIn, L"LoadBehavior", 0U); }, L"R3", Verdict::Fail, L"is 0"},
        {"8", [](M& m) { m.Put(Hive::Machine, kAddIn, L"LoadBehavior", 8U); }, L"R3", Verdict::Fail},
        {"9", [](M& m) { m.Put(Hive::Machine, kAddIn, L"LoadBehavior", 9U); }, L"R3", Verdict::Warn, L"on demand"},
        {"text", [](M& m) { m.Put(Hive::Machine, kAddIn, L"LoadBehavior", L"3"); }, L"R3", Verdict::Fail, L"no valid"},
        {"user off", [](M& m) { m.Put(Hive::User, kAddIn, L"LoadBehavior", 2U); }, L"R4", Verdict::Fail, L"overrides",
         1},
        {"user off in two keys",
         [](M& m) {
             m.Put(Hive::User, kAddIn, L"LoadBehavior", 0U);
             m.Put(Hive::User, kOutlook16 + L"Addins\\" + kProgId, L"LoadBehavior", 0U);
         },
         L"R4", Verdict::Fail, L"is 0", 2},
        {"user on", [](M& m) { m.Put(Hive::User, kAddIn, L"LoadBehavior", 3U); }, L"R4", Verdict::Ok, L"is 3"},
        {"shadow off", [](M& m) { m.Put(Hive::Machine, kStreamed + kAddIn.substr(9), L"LoadBehavior", 2U); }, L"R5",
         Verdict::Fail},
        {"shadow elsewhere",
         [](M& m) {
             const std::wstring key = kStreamed + L"Classes\\" + registry::kClassKey;
             m.Put(Hive::Machine, key, L"", L"");
             m.Put(Hive::Machine, key + L"\\InprocServer32", L"", L"D:\\other.dll");
         },
         L"R5", Verdict::Fail, L"D:\\other.dll"},
        {"shadow", [](M& m) { m.Put(Hive::Machine, kStreamed + L"Classes\\" + kProgId, L"", L""); }, L"R5",
         Verdict::Warn},
        {"no id",
         [](M& m) {
             m.keys.erase({Hive::Machine, L"SOFTWARE\\Classes\\" + kProgId + L"\\CLSID"});
         },
         L"R6", Verdict::Fail, registry::kClassId},
        {"no name", [](M& m) { m.Put(Hive::Machine, L"SOFTWARE\\Classes\\" + kProgId, L"", L"X"); }, L"R6",
         Verdict::Warn},
        {"no server",
         [](M& m) {
             m.keys.erase({Hive::Machine, kServer});
         },
         L"R7", Verdict::Fail, L"not registered"},
        {"relative", [](M& m) { m.Put(Hive::Machine, kServer, L"", L"OutlookAddIn.dll"); }, L"R7", Verdict::Fail,
         L"not a full path", 0, L"F1"},
        {"quoted", [](M& m) { m.Put(Hive::Machine, kServer, L"", L"\"" + kModulePath + L"\""); }, L"R7", Verdict::Fail,
         L"quotation", 0, L"F1"},
        {"missing", [](M& m) { m.files.erase(kModulePath); }, L"R7", Verdict::Fail, L"does not exist", 0, L"F1"},
        {"another copy",
         [](M& m) {
             m.files[L"D:\\OutlookAddIn.dll"] = m.files[kModulePath];
             m.versions[L"D:\\OutlookAddIn.dll"] = m.versions[kModulePath];
             m.Put(Hive::Machine, kServer, L"", L"D:\\OutlookAddIn.dll");
         },
         L"R7", Verdict::Warn, L"installer's file"},
        {"threads", [](M& m) { m.Put(Hive::Machine, kServer, L"ThreadingModel", L"Both"); }, L"R7", Verdict::Warn,
         L"Both"},
        {"user's class",
         [](M& m) {
             m.Put(Hive::User, kClass, L"", L"");
             m.Put(Hive::User, kServer, L"", L"D:\\other.dll");
         },
         L"R8", Verdict::Fail, L"D:\\other.dll", 1},
        {"user's same class",
         [](M& m) {
             m.Put(Hive::User, kClass, L"", L"");
             m.Put(Hive::User, kServer, L"", kModulePath);
         },
         L"R8", Verdict::Warn, L"hides", 1},
        {"library",
         [](M& m) {
             m.Put(Hive::Machine, L"SOFTWARE\\Classes\\TypeLib\\{712AA455-0C84-4E6F-B754-C84B08BB0681}\\1.0\\0\\win64",
                   L"", L"D:\\old.dll");
         },
         L"R9", Verdict::Warn, L"D:\\old.dll"},
        {"kill bit",
         [](M& m) {
             m.Put(Hive::Machine, kOffice + L"16.0\\Common\\COM Compatibility\\" + registry::kClassId,
                   L"Compatibility Flags", 0x400U);
         },
         L"R10", Verdict::Fail, L"kill bit"},
    });
}

TEST(Checks, OfTheFile) {
    using End = doctor::ProbeResult::End;
    Check({
        {"unreadable", [](M& m) { m.deniedFiles = {kModulePath}; }, L"F1", Verdict::Fail, L"cannot read"},
        {"32-bit", [](M& m) { made::Put(m.files[kModulePath], made::kHeaders + 4, 0x014C, 2); }, L"F1", Verdict::Fail,
         L"0x14C"},
        {"no program", [](M& m) { m.files[kModulePath] = "x"; }, L"F1", Verdict::Fail, L"not a valid", 0, L"F4"},
        {"version",
         [](M& m) {
             m.versions[kModulePath] = {{0, 9, 0, 0}};
         },
         L"F1", Verdict::Warn, L"0.9.0.0"},
        {"zone 3", [](M& m) { m.files[kModulePath + L":Zone.Identifier"] = Zone('3'); }, L"F2", Verdict::Warn,
         L"zone 3"},
        {"zone 2", [](M& m) { m.files[kModulePath + L":Zone.Identifier"] = Zone('2'); }, L"F2", Verdict::Ok},
        {"writable", [](M& m) { m.writable.insert(doctor::Parent(kModulePath)); }, L"F3", Verdict::Warn,
         L"security hole"},
        {"no library", [](M& m) { m.missingFolders = {kSystemPath + L"\\b.dll"}; }, L"F4", Verdict::Fail,
         L"b.dll is missing"},
        {"cut off", [](M& m) { m.files[kModulePath].resize(made::kData); }, L"F4", Verdict::Fail, L"import table"},
        {"unsigned", [](M& m) { m.signatures.clear(); }, L"F5", Verdict::Info, L"not signed"},
        {"altered", [](M& m) { m.signatures[kModulePath].state = SignatureState::Altered; }, L"F5", Verdict::Fail},
        {"untrusted", [](M& m) { m.signatures[kModulePath].state = SignatureState::Untrusted; }, L"F5", Verdict::Warn},
        {"policy",
         [](M& m) {
             m.signatures.clear();
             m.Put(Hive::User, kPolicies + L"16.0\\Outlook\\Security", L"DontTrustInstalledFiles", 1U);
             m.Put(Hive::User, kPolicies + L"16.0\\Outlook\\Security", L"Level", 3U);
         },
         L"F5", Verdict::Warn, L"asks for a signature", 0, L"P3"},
        {"no import",
         [](M& m) {
             m.probe = {End::Failed, 0x7E};
         },
         L"F6", Verdict::Fail, L"0x7E"},
        {"crash",
         [](M& m) {
             m.probe = {End::Failed, 0xC0000005};
         },
         L"F6", Verdict::Fail, L"crashed"},
        {"status",
         [](M& m) {
             m.probe = {End::Failed, 0x80004005};
         },
         L"F6", Verdict::Fail, L"failed"},
        {"endless",
         [](M& m) {
             m.probe = {End::TimedOut, 0};
         },
         L"F6", Verdict::Fail, L"10 seconds"},
        {"blocked",
         [](M& m) {
             m.events[L"Microsoft-Windows-CodeIntegrity/Operational"] = {
                 {3077, L"\\Device\\HarddiskVolume3\\Program Files\\Nembra\\OutlookAddIn\\OutlookAddIn.dll"}};
         },
         L"F7", Verdict::Warn, L"3077"},
        {"smart control",
         [](M& m) {
             m.signatures.clear();
             m.Put(Hive::Machine, L"SYSTEM\\CurrentControlSet\\Control\\CI\\Policy", L"VerifiedAndReputablePolicyState",
                   1U);
         },
         L"F7", Verdict::Warn, L"Smart App Control", 0, L"F5"},
    });
}

TEST(Checks, OfDisablingEventsAndPolicies) {
    Check({
        {"disabled",
         [](M& m) { m.PutData(Hive::User, kOutlook16 + L"Resiliency\\DisabledItems", Binary(L"x " + kProgId, false)); },
         L"D1", Verdict::Fail, L"disabled items", 1},
        {"disabled, by file, at an odd offset",
         [](M& m) {
             m.PutData(Hive::User, kOffice + L"15.0\\Outlook\\Resiliency\\DisabledItems",
                       Binary(L"c:\\outlookADDIN.DLL", true));
         },
         L"D1", Verdict::Fail, L"15.0", 1},
        {"others' item",
         [](M& m) { m.PutData(Hive::User, kOutlook16 + L"Resiliency\\DisabledItems", Binary(L"Other.AddIn", false)); },
         L"D1", Verdict::Ok},
        {"crashed", [](M& m) { m.Put(Hive::User, kOutlook16 + L"Resiliency\\CrashingAddinList", kProgId, 1U); }, L"D2",
         Verdict::Fail, L"crash", 1},
        {"exempt", [](M& m) { m.Put(Hive::User, kOutlook16 + L"Resiliency\\DoNotDisableAddinList", kProgId, 8U); },
         L"D3", Verdict::Info, L"slow shutdown (8)"},
        {"unknown reason",
         [](M& m) { m.Put(Hive::User, kOutlook16 + L"Resiliency\\DoNotDisableAddinList", kProgId, 99U); }, L"D3",
         Verdict::Info, L"unknown (99)"},
        {"told",
         [](M& m) { m.Put(Hive::User, kOutlook16 + L"Resiliency\\NotificationReminderAddinData", kProgId, 1U); }, L"D4",
         Verdict::Info},
        {"times", [](M& m) { m.Put(Hive::User, kOutlook16 + L"AddInLoadTimes", kProgId, 0x1234U); }, L"D5", Verdict::Ok,
         L"34120000"},
        {"event 59",
         [](M& m) {
             m.events[L"Application"] = {{59, L"ProgID: " + kProgId + L" Reason: slow"}};
         },
         L"E1", Verdict::Fail, L"Reason: slow"},
        {"others' event 59",
         [](M& m) {
             m.events[L"Application"] = {{59, L"ProgID: Other"}};
         },
         L"E1", Verdict::Ok},
        {"slow",
         [](M& m) {
             m.events[L"Application"] = {{45, L"ProgID: A Boot Time (Milliseconds): 9999 ProgID: " + kProgId +
                                                  L" Load Behavior: 3 Boot Time (Milliseconds): 501"}};
         },
         L"E1", Verdict::Warn, L"501 ms"},
        {"fast",
         [](M& m) {
             m.events[L"Application"] = {{45, L"ProgID: " + kProgId + L" Boot Time (Milliseconds): 500"}};
         },
         L"E1", Verdict::Ok},
        {"crash",
         [](M& m) {
             m.events[L"Application"] = {{1000, L"outlook.exe 16.0 OutlookAddIn.dll 1.0"}};
         },
         L"E2", Verdict::Warn, L"1000"},
        {"policy 0",
         [](M& m) { m.Put(Hive::User, kPolicies + L"16.0\\Outlook\\Resiliency\\AddinList", kProgId, L"0"); }, L"P1",
         Verdict::Fail, L"blocks"},
        {"policy 0 as a number", [](M& m) { m.Put(Hive::User, kOutlook16 + L"Resiliency\\AddinList", kProgId, 0U); },
         L"P1", Verdict::Fail},
        {"policy 1",
         [](M& m) { m.Put(Hive::User, kPolicies + L"16.0\\Outlook\\Resiliency\\AddinList", kProgId, L"1"); }, L"P1",
         Verdict::Ok, L"value 1"},
        {"only listed",
         [](M& m) { m.Put(Hive::User, kPolicies + L"16.0\\Outlook\\Resiliency", L"RestrictToList", 1U); }, L"P2",
         Verdict::Warn, L"not listed"},
        {"only listed, and listed",
         [](M& m) {
             m.Put(Hive::User, kPolicies + L"16.0\\Outlook\\Resiliency", L"RestrictToList", 1U);
             m.Put(Hive::User, kPolicies + L"16.0\\Outlook\\Resiliency\\AddinList", kProgId, L"2");
         },
         L"P2", Verdict::Ok},
        {"signed only, and signed",
         [](M& m) {
             m.Put(Hive::User, kOutlook16 + L"Security", L"DontTrustInstalledFiles", 1U);
             m.Put(Hive::User, kOutlook16 + L"Security", L"Level", 2U);
         },
         L"P3", Verdict::Info, L"level 2"},
        {"others' names", [](M& m) { m.Put(Hive::User, kOutlook16 + L"Security", L"RequireAddinSig", 1U); }, L"P4",
         Verdict::Info, L"RequireAddinSig"},
    });
}

TEST(Checks, OfLogAndClient) {
    Check({
        {"not loaded", [](M& m) { m.StartOutlook(); }, L"L1", Verdict::Fail, L"has not loaded"},
        {"loaded before this start",
         [](M& m) {
             m.StartOutlook().started = "2026-01-02 11:00:00.000";
             m.files[kLogPath + L"\\outlookaddin.txt"] = kLoadLine;
         },
         L"L1", Verdict::Fail, L"has not loaded"},
        {"error",
         [](M& m) {
             Load(m);
             m.files[kLogPath + L"\\outlookaddin.txt"] += kErrorLine;
         },
         L"L1", Verdict::Warn, L"LoadTypelib faile: 1"},
        {"error before the load",
         [](M& m) {
             Load(m);
             m.files[kLogPath + L"\\outlookaddin.txt"] = kErrorLine + kLoadLine;
         },
         L"L1", Verdict::Ok, L"10:00:01"},
        {"folder", [](M& m) { m.writable.clear(); }, L"L1", Verdict::Warn, L"cannot be written"},
        {"no folder yet",
         [](M& m) {
             m.missingFolders = {kLogPath};
             m.writable = {doctor::Parent(kLogPath)};
         },
         L"L1", Verdict::Ok},
        {"disk", [](M& m) { m.freeBytes = 17; }, L"L1", Verdict::Warn, L"17 bytes"},
        {"no task window",
         [](M& m) {
             Load(m);
             m.windows[L"NBM_OUTLOOK_ADDIN_MSGWND"] = {8};
         },
         L"L2", Verdict::Fail, L"NBM_OUTLOOK_ADDIN_MSGWND"},
        {"errors shown",
         [](M& m) { m.Put(Hive::User, kOffice + L"16.0\\Common\\General", L"ReportAddinCustomUIErrors", 1U); }, L"L3",
         Verdict::Ok},
        {"two clients",
         [](M& m) {
             m.windows[L"NbmProxyOutlookClientWnd"] = {9, 10};
         },
         L"C1", Verdict::Warn, L"2 windows"},
        {"no scheme",
         [](M& m) {
             m.keys.erase({Hive::Machine, L"SOFTWARE\\Classes\\quorvex"});
         },
         L"C2", Verdict::Fail, L"not registered"},
        {"no client", [](M& m) { m.files.erase(kClientPath); }, L"C2", Verdict::Fail, L"does not exist"},
        {"user's scheme",
         [](M& m) {
             m.Put(Hive::User, L"SOFTWARE\\Classes\\quorvex", L"URL Protocol", L"");
             m.Put(Hive::User, L"SOFTWARE\\Classes\\quorvex\\shell\\open\\command", L"", kClientPath + L" %1");
         },
         L"C2", Verdict::Warn, L"hides", 1},
        {"rule", [](M& m) { m.Put(Hive::Machine, kRules, L"26190899-1602-49e8-8b27-eb1d0a1ce869", L"1"); }, L"C3",
         Verdict::Warn, L"26190899"},
        {"rule in audit", [](M& m) { m.Put(Hive::Machine, kRules, L"d4f940ab-401b-4efc-aadc-ad5f3c50688a", L"2"); },
         L"C3", Verdict::Info},
        {"rule's event",
         [](M& m) {
             m.events[L"Microsoft-Windows-Windows Defender/Operational"] = {
                 {1121, L"26190899-1602-49E8-8B27-EB1D0A1CE869 C:\\OUTLOOK.EXE"}};
         },
         L"C3", Verdict::Warn, L"1121"},
    });
}

TEST(Checks, OfEventsSayThatALogCannotBeRead) {
    M machine;
    for (const doctor::Access access : {doctor::Access::Denied, doctor::Access::Absent}) {
        machine.eventAccess = access;
        const bool denied = access == doctor::Access::Denied;
        const auto findings = doctor::RunChecks(Scene(machine, Language::English));
        for (const wchar_t* id : {L"F7", L"E1", L"E2", L"C3"}) {
            EXPECT_EQ(FindById(findings, id)->GetVerdict(), denied ? Verdict::Unknown : Verdict::Info) << ToUtf8(id);
        }
        EXPECT_EQ(doctor::CodeOf(findings), denied ? doctor::kCouldNotLook : doctor::kNothingFound);
    }
}
