#include "Outlook/Business/Meeting.h"

#include "Outlook/Business/MeetingJson.h"
#include "channel/ChannelGlobals.h"
#include "channel/uisdk_protocol.h"
#include "support/Text.h"
#include "tests/Outlook/Business/LogCapture.h"
#include "tests/channel/PeerWindow.h"

#include <gmock/gmock.h>

#include <limits>
#include <new>

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

struct Launch {
    std::wstring verb;
    std::wstring uri;
    std::wstring parameters;
    std::wstring directory;
    INT show = -1;
    bool ownerless = false;
};

std::vector<Launch> g_launches;
INT_PTR g_launchResult = 42;

HINSTANCE STDAPICALLTYPE RecordLaunch(HWND owner, LPCWSTR verb, LPCWSTR uri, LPCWSTR parameters, LPCWSTR directory,
                                      INT show) {
    g_launches.push_back({verb, uri, parameters, directory, show, owner == nullptr});
    return reinterpret_cast<HINSTANCE>(g_launchResult);
}

/// The real channel under the single Meeting; only the launch of the client is recorded instead of done.
class MeetingLink : public ::testing::Test {
protected:
    void SetUp() override {
        g_launches.clear();
        g_launchResult = 42;
        LogCapture::Clear();
        meeting_.SetShellLauncher(&RecordLaunch);
    }

    void TearDown() override {
        uisdk_protocol_stop();
        meeting_.Init(nullptr); // takes this test's callback away; starts the channel anew
        uisdk_protocol_stop();
        EXPECT_TRUE(PeerWindow::WaitForNoServer());
    }

    void Init() {
        ASSERT_EQ(meeting_.Init([this](const NotifyData& data) {
            records_.Add(data);
            return S_OK;
        }),
                  S_OK);
        ASSERT_NE(PeerWindow::FindServer(), nullptr);
    }

    static std::vector<std::wstring> Errors(const std::wstring& function) {
        std::vector<std::wstring> texts;
        for (const LogCapture::Line& line : LogCapture::Of(function)) {
            if (line.level == LogLevel::Error) {
                texts.push_back(line.text);
            }
        }
        return texts;
    }

    static ActionData Action(ActionType type) {
        ActionData action;
        action.cmd = static_cast<int32_t>(type);
        action.subject = L"\u4F1A\u8BAE \"1\"";
        action.confId = L"c1";
        action.startTime = 1700000000;
        action.endTime = std::numeric_limits<int64_t>::max();
        action.centerX = -5;
        return action;
    }

    Meeting& meeting_ = Meeting::GetInstance();
    Inbox<NotifyData> records_;
};

TEST_F(MeetingLink, CommandReachesTheClientAsStyledJson) {
    PeerWindow peer;
    Init();
    EXPECT_EQ(meeting_.OnAction(Action(ActionType::ModifyMeeting)), S_OK);
    ASSERT_TRUE(peer.Messages().WaitForCount(1));
    const std::string text = "{\n"
                             "\t\"centerX\" : -5,\n"
                             "\t\"centerY\" : 0,\n"
                             "\t\"cmd\" : 6,\n"
                             "\t\"confId\" : \"c1\",\n"
                             "\t\"confOutlookId\" : \"\",\n"
                             "\t\"endTime\" : 9223372036854775807,\n"
                             "\t\"startTime\" : 1700000000,\n"
                             "\t\"subject\" : \"\\u4f1a\\u8bae \\\"1\\\"\"\n"
                             "}\n";
    EXPECT_THAT(peer.Messages().All(), ElementsAre(text));
    const auto lines = LogCapture::Of(L"Meeting::OnAction");
    ASSERT_THAT(lines, SizeIs(1));
    EXPECT_EQ(lines[0].text, L"Data: " + ToWide(text));
    EXPECT_EQ(lines[0].source, L"Business/Meeting");
    EXPECT_EQ(lines[0].level, LogLevel::Info);
    EXPECT_THAT(g_launches, IsEmpty());
}

TEST_F(MeetingLink, MissingClientIsLaunchedByItsUri) {
    Init();
    struct Case {
        ActionType type;
        INT_PTR launch;
        HRESULT result;
        std::vector<std::wstring> errors;
    };
    const Case cases[] = {{ActionType::BookMeeting, 42, static_cast<HRESULT>(0xA0080001), {}},
                          {ActionType::LaunchClient, 32, S_OK, {}},
                          {ActionType::LaunchClient, 31, S_OK, {L"ShellExecute fail: 31"}},
                          {ActionType::CancelMeeting, 0, static_cast<HRESULT>(0xA0080001), {L"ShellExecute fail: 0"}}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.launch);
        g_launches.clear();
        LogCapture::Clear();
        g_launchResult = c.launch;
        EXPECT_EQ(meeting_.OnAction(Action(c.type)), c.result);
        EXPECT_EQ(Errors(L"Meeting::OnAction"), c.errors);
        ASSERT_THAT(g_launches, SizeIs(1));
        EXPECT_EQ(g_launches[0].verb, L"open");
        EXPECT_EQ(g_launches[0].uri, L"quorvex://meeting/h5page?page=launch");
        EXPECT_EQ(g_launches[0].parameters + g_launches[0].directory, L"");
        EXPECT_EQ(g_launches[0].show, 5);
        EXPECT_TRUE(g_launches[0].ownerless);
    }
    PeerWindow peer;
    EXPECT_EQ(meeting_.OnAction(Action(ActionType::StartVideoMeeting)), S_OK);
    ASSERT_TRUE(peer.Messages().WaitForCount(1));
    EXPECT_THAT(peer.Messages().All(), SizeIs(1)) << "a command is not repeated after the launch";
}

TEST_F(MeetingLink, StoppedChannelCountsAsDone) {
    EXPECT_FALSE(meeting_.IsClientConnected());
    EXPECT_EQ(meeting_.OnAction(Action(ActionType::BookMeeting)), S_OK);
    EXPECT_THAT(g_launches, IsEmpty());
}

TEST_F(MeetingLink, ConnectionNeedsBothWindows) {
    Init();
    EXPECT_FALSE(meeting_.IsClientConnected());
    {
        PeerWindow peer;
        EXPECT_EQ(meeting_.OnAction(Action(ActionType::BookMeeting)), S_OK); // looks the client up
        EXPECT_TRUE(meeting_.IsClientConnected());
    }
    EXPECT_FALSE(meeting_.IsClientConnected());
}

TEST_F(MeetingLink, RefusedTextsAreLoggedAndTheNextOneArrives) {
    PeerWindow peer;
    Init();
    LogCapture::Clear();
    for (const std::string& text : {std::string("NBM_NOTIFY_ID_SDK_DISCONNECTED"), std::string("no json"),
                                    std::string(5000, '['), std::string("[1]"), std::string("{\"notify\":\"101\"}"),
                                    std::string("\xFF\xFE%n%s"), std::string("{\"notify\":200}")}) {
        ASSERT_TRUE(peer.Send(text));
    }
    ASSERT_TRUE(records_.WaitForCount(1));
    EXPECT_EQ(records_.All()[0].type, 200);
    const std::vector<std::wstring> errors = Errors(L"Meeting::OnRecvMsg");
    ASSERT_THAT(errors, SizeIs(5));
    for (const std::size_t parseFailure : {0, 1, 4}) {
        EXPECT_EQ(errors[parseFailure].rfind(L"parse msg fail: ", 0), 0u);
    }
    EXPECT_EQ(errors[2], L"Non command or invalid type.");
    EXPECT_EQ(errors[3], L"Non command or invalid type.");
    const auto lines = LogCapture::Of(L"Meeting::OnRecvMsg");
    ASSERT_THAT(lines, SizeIs(5 + 6));
    EXPECT_EQ(lines[0].text, L"no json") << "the disconnect signal leaves no line";
    EXPECT_EQ(lines[0].level, LogLevel::Info);
    for (const LogCapture::Line& line : LogCapture::Of(L"Meeting::logOutput")) {
        EXPECT_EQ(line.level, LogLevel::Debug);
    }
    EXPECT_THAT(LogCapture::Of(L"Meeting::logOutput"), ::testing::Not(IsEmpty()));
}

TEST_F(MeetingLink, WithoutCallbackTextsAreReportedAndDropped) {
    ASSERT_EQ(meeting_.Init(nullptr), S_OK);
    LogCapture::Clear();
    meeting_.OnRecvMsg("{\"notify\":101}");
    const std::vector<std::wstring> errors = Errors(L"Meeting::OnRecvMsg");
    ASSERT_FALSE(errors.empty());
    EXPECT_EQ(errors[0], L"notify callback not set.");
}

TEST_F(MeetingLink, CallbackMayBeReplacedAndMayThrowWhileTextsArrive) {
    PeerWindow peer;
    Init();
    std::atomic<int> calls{0};
    for (int i = 0; i < 20; ++i) {
        ASSERT_TRUE(peer.Send("{\"notify\":" + std::to_string(i) + "}"));
    }
    for (int i = 0; i < 2000 && calls < 20; ++i) {
        // Each callback owns a block, so that one that is freed while it runs is noticed.
        meeting_.Init([this, &calls, owned = std::string(100, 'x')](const NotifyData& data) -> HRESULT {
            records_.Add(data);
            calls += owned.size() == 100 ? 1 : 1000;
            throw std::bad_alloc();
        });
        ::Sleep(1);
    }
    EXPECT_TRUE(records_.WaitForCount(20));
    EXPECT_LE(calls, 20);
}

} // namespace
