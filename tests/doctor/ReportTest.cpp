#include "doctor/Collect.h"
#include "doctor/Fix.h"
#include "doctor/Report.h"
#include "support/Text.h"
#include "tests/doctor/PlantedMachine.h"

#include <gmock/gmock.h>
#include <json/json.h>

#include <sstream>

using doctor::Hive;
using doctor::Repair;
using doctor::Scene;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

std::string Text(const PlantedMachine& machine, Language language) {
    const Scene scene(machine, language);
    return ToUtf8(doctor::TextReport(doctor::RunChecks(scene), doctor::IsLoaded(scene), language));
}

std::vector<std::string> Lines(const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

/// A user who has switched the add-in off, below a policy that warns of something else.
void PlantFaults(PlantedMachine& machine) {
    machine.Put(Hive::Machine, L"SOFTWARE\\Classes\\CLSID\\{40F17626-1892-4A6D-891E-E1A77A483FC0}\\InprocServer32",
                L"ThreadingModel", L"Both");
    machine.Put(Hive::User, registry::kAddInKey, L"LoadBehavior", 2U);
}

} // namespace

TEST(TextReport, BeginsWithTheVerdictAndTheOneThingToDo) {
    PlantedMachine machine;
    EXPECT_EQ(Lines(Text(machine, Language::English))[1], "Nothing found: the add-in should load.");
    PlantFaults(machine);
    const auto lines = Lines(Text(machine, Language::English));
    ASSERT_GT(lines.size(), 40U);
    EXPECT_EQ(lines[1], "1 fault(s) found.");
    EXPECT_THAT(lines[2], AllOf(StartsWith("Do this: Select the add-in"), HasSubstr("(R4)")))
        << "a fault comes before a warning";
    EXPECT_EQ(lines[3], "Or run: OutlookAddInDoctor --fix R4");
    EXPECT_THAT(Text(machine, Language::Chinese), HasSubstr("发现 1 个故障"));
}

TEST(JsonReport, IsForPrograms) {
    PlantedMachine machine;
    PlantFaults(machine);
    const auto findings = doctor::RunChecks(Scene(machine, Language::Chinese));
    std::istringstream stream(doctor::JsonReport(findings));
    Json::Value report;
    ASSERT_TRUE(Json::parseFromStream(Json::CharReaderBuilder(), stream, &report, nullptr));
    EXPECT_EQ(report["exitCode"], static_cast<int>(doctor::kFaultFound));
    EXPECT_EQ(report["begin"], "R4");
    ASSERT_EQ(report["checks"].size(), findings.size());
    for (const Json::Value& check : report["checks"]) {
        if (check["id"] == "R4") {
            EXPECT_EQ(check["verdict"], "FAIL");
            EXPECT_EQ(check["fixable"], true);
            EXPECT_THAT(check["fact"].asString(), HasSubstr("优先"));
        } else if (check["id"] == "R7") {
            EXPECT_EQ(check["verdict"], "WARN");
            EXPECT_THAT(check["commands"][0].asString(), HasSubstr("regsvr32.exe\" /s"));
        }
    }
}

TEST(Report, HasAnExitCodeForEachOutcome) {
    using doctor::Verdict;
    const auto code = [](std::initializer_list<Verdict> verdicts) {
        std::vector<doctor::Finding> findings;
        for (const Verdict verdict : verdicts) {
            findings.emplace_back(L"", L"", Verdict::Fail, Language::English).Add(verdict, {L"", L""});
        }
        return doctor::CodeOf(findings);
    };
    EXPECT_EQ(code({Verdict::Ok, Verdict::Info}), 0);
    EXPECT_EQ(code({Verdict::Warn, Verdict::Fail, Verdict::Unknown}), 1);
    EXPECT_EQ(code({Verdict::Warn, Verdict::Unknown}), 2);
    EXPECT_EQ(code({Verdict::Unknown, Verdict::Ok}), 3);
}

TEST(Fix, AsksAndChangesOnlyWhatBelongsToTheUser) {
    struct {
        const char* what;
        Repair repair;
        bool answer;
        std::size_t applied;
    } const cases[] = {
        {"confirmed", {Repair::Kind::DeleteValue, L"SOFTWARE\\A", L"B"}, true, 1},
        {"refused", {Repair::Kind::DeleteValue, L"SOFTWARE\\A", L"B"}, false, 0},
        {"a policy", {Repair::Kind::DeleteValue, L"SOFTWARE\\Policies\\A", L"B"}, true, 0},
        {"a policy without its folder", {Repair::Kind::DeleteValue, L"A\\Resiliency\\AddinList", L"B"}, true, 0},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.what);
        doctor::Finding finding(L"R4", L"", doctor::Verdict::Fail, Language::English);
        finding.Offer(each.repair);
        std::wstring told;
        std::vector<Repair> applied;
        const bool done = doctor::Fix(finding, true, Language::English,
                                      {[&](const std::wstring& line) { told += line + L"\n"; },
                                       [&](const std::wstring&) { return each.answer; },
                                       [&](const Repair& repair) {
                                           applied.push_back(repair);
                                           return 0L;
                                       }});
        EXPECT_EQ(applied.size(), each.applied);
        EXPECT_EQ(done, each.applied != 0);
        EXPECT_FALSE(told.empty());
    }
}

TEST(Fix, ShowsAnAdministratorsCommandInstead) {
    PlantedMachine machine;
    machine.Put(Hive::Machine, registry::kAddInKey, L"LoadBehavior", 2U);
    const auto findings = doctor::RunChecks(Scene(machine, Language::English), L"r3");
    ASSERT_EQ(findings.size(), 1U);
    machine.files.erase(kModulePath); // nothing is left that could be registered
    const auto missing = doctor::RunChecks(Scene(machine, Language::English), L"R7");
    EXPECT_THAT(ToUtf8(missing.at(0).Commands().at(0)), StartsWith("msiexec /i NembraOutlookAddIn-"));
    std::wstring told;
    EXPECT_FALSE(doctor::Fix(findings[0], false, Language::English,
                             {[&](const std::wstring& line) { told += line + L"\n"; }, nullptr, nullptr}));
    EXPECT_THAT(ToUtf8(told), HasSubstr("reg add \"HKLM\\SOFTWARE\\Microsoft\\Office\\Outlook\\Addins\\"
                                        "NembraMeeting.OutlookAddin\" /v LoadBehavior /t REG_DWORD /d 3 /f /reg:64"));
}

TEST(Collection, HoldsReportsLogsAndRegistryWithoutNames) {
    PlantedMachine machine;
    machine.files[kLogPath + L"\\outlookaddin.txt"] =
        "[2026-01-02 10:00:01.000][P:1/T:2][Inf][Meeting:124 Meeting::OnRecvMsg]{\"subject\":\"Secret\"}\r\n";
    machine.Put(Hive::User, L"SOFTWARE\\Microsoft\\Office\\16.0\\Outlook\\Resiliency\\DisabledItems", L"1",
                L"of ann@mail.example");
    const std::string text = Text(machine, Language::English);
    const auto files = doctor::Collect(machine, {{"report.txt", text + "C:\\Users\\Ann"}, {"report.json", "{}"}});
    ASSERT_EQ(files.size(), 4U);
    EXPECT_EQ(files[3].name, "outlookaddin.txt");
    for (const doctor::CollectedFile& file : files) {
        EXPECT_FALSE(file.content.empty()) << file.name;
        for (const char* secret : {"Ann", "ann@", "Secret"}) {
            EXPECT_THAT(file.content, Not(HasSubstr(secret))) << file.name;
        }
    }
    EXPECT_THAT(files[2].content, AllOf(HasSubstr("LoadBehavior = 3"), HasSubstr("DisabledItems")));
}
