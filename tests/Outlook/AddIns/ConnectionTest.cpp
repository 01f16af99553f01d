#include "tests/Outlook/AddIns/AddInFixture.h"

#include "Outlook/AddIns/OfficeInterfaces.h"

namespace {

struct FailingConnection {
    const char* name;
    const wchar_t* member; // made to fail; null: none
    FailKind kind;
    const wchar_t* version;
    HRESULT result;
    const char* line; // of the log; null: none
};

const FailingConnection kFailingConnections[] = {
    {"explorer fails", L"Application.ActiveExplorer", FailKind::Exception, L"16.0", kForced,
     "Err AddIn::OnConnection Query _Explorer interface fail."},
    {"no explorer", L"Application.ActiveExplorer", FailKind::NullResult, L"16.0", S_OK,
     "Err AddIn::OnConnection Query _Explorer interface fail."},
    {"version 14", nullptr, FailKind::Status, L"14.0.7268", CO_E_NOT_SUPPORTED, nullptr},
    {"no version", nullptr, FailKind::Status, L"Outlook 16", CO_E_NOT_SUPPORTED, nullptr},
    {"explorers fail", L"Application.Explorers", FailKind::Exception, L"15.0", kForced,
     "Err AddIn::OnConnection Query _Explorers fail."},
    {"inspectors fail", L"Application.Inspectors", FailKind::Status, L"16.0", kForced,
     "Err AddIn::OnConnection Query _Inspectors fail."},
};

} // namespace

class Connection : public AddInFixture {};

TEST_F(Connection, EachFailingStepEndsItWithThatStatusAndLeavesTheAddInInert) {
    for (const FailingConnection& each : kFailingConnections) {
        SCOPED_TRACE(each.name);
        AddInHost& addIn = Load({.version = each.version});
        Host().OpenExplorer();
        if (each.member != nullptr) {
            Host().FailMember(each.member, each.kind, kForced);
        }
        Log().NewLines();
        EXPECT_EQ(addIn.Connect(), each.result);
        const std::vector<std::string> fresh = Log().NewLines();
        if (each.line != nullptr) {
            EXPECT_THAT(fresh, Contains(each.line));
        } else {
            EXPECT_THAT(fresh, Not(Contains(testing::StartsWith("Err"))));
        }
        EXPECT_EQ(addIn.Ribbon(Surface::Explorer).Press(L"NoSuchId"), E_FAIL);
        EXPECT_THAT(LogLines(), Contains("War AddIn::OnAction Event handler not set."));
    }
}

TEST_F(Connection, WithoutAnApplicationItIsRefused) {
    AddInHost& addIn = Load();
    _IDTExtensibility2* extensibility = nullptr;
    ASSERT_EQ(addIn.Object()->QueryInterface(&extensibility), S_OK);
    EXPECT_EQ(extensibility->OnConnection(nullptr, ext_cm_Startup, nullptr, nullptr), E_POINTER);
    const auto explorer = Host().OpenExplorer()->Dispatch();
    EXPECT_EQ(extensibility->OnConnection(explorer, ext_cm_Startup, nullptr, nullptr), E_NOINTERFACE);
    extensibility->Release();
    EXPECT_THAT(LogLines(), Contains("Err AddIn::OnConnection Query _Application interface fail."));
}

TEST_F(Connection, TheLanguageFallsBackToChinese) {
    struct Case {
        const char* name;
        const wchar_t* member;
        FailKind kind;
        bool chinese;
    };
    const Case cases[] = {
        {"nothing fails", nullptr, FailKind::Status, false},
        {"settings fail", L"Application.LanguageSettings", FailKind::Exception, true},
        {"settings refuse", L"Application.LanguageSettings", FailKind::Status, true},
        {"no settings", L"Application.LanguageSettings", FailKind::NullResult, true},
        {"language fails", L"LanguageSettings.LanguageID", FailKind::Exception, true},
        {"no language", L"LanguageSettings.LanguageID", FailKind::NullResult, true},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        Load();
        Host().OpenExplorer();
        if (each.member != nullptr) {
            Host().FailMember(each.member, each.kind, kForced);
        }
        EXPECT_EQ(AddIn().Connect(), S_OK);
        EXPECT_EQ(ToNarrow(ExplorerRibbon().Label(L"BookMeetingMail")), each.chinese ? "预约会议" : "Schedule");
    }
    // A reconnection that cannot tell the language does not keep the earlier one.
    Connect();
    EXPECT_EQ(AddIn().Disconnect(), S_OK);
    Host().FailMember(L"Application.LanguageSettings", FailKind::Exception, kForced);
    EXPECT_EQ(AddIn().Connect(), S_OK);
    EXPECT_EQ(ToNarrow(ExplorerRibbon().Label(L"BookMeetingMail")), "预约会议");
}

TEST_F(Connection, TheHostsVersionIsReadUpToItsFirstDot) {
    struct Case {
        const wchar_t* version;
        HRESULT result;
    };
    for (const Case& each : {Case{L"15.0.4420.1017", S_OK}, Case{L"16.0.0.10000", S_OK}, Case{L"100", S_OK},
                             Case{L" 15", S_OK}, Case{L"14.9", CO_E_NOT_SUPPORTED}, Case{L"9.0", CO_E_NOT_SUPPORTED},
                             Case{L"", CO_E_NOT_SUPPORTED}, Case{L"-16", CO_E_NOT_SUPPORTED}}) {
        SCOPED_TRACE(ToNarrow(each.version));
        Load({.version = each.version});
        Host().OpenExplorer();
        EXPECT_THAT(AddIn().Connect(), IsStatus(each.result));
    }
    Load();
    Host().OpenExplorer();
    Host().FailMember(L"Application.Version", FailKind::Exception, kForced);
    EXPECT_THAT(AddIn().Connect(), IsStatus(CO_E_NOT_SUPPORTED));
}
