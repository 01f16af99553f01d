#include "tests/channel/ChannelFixture.h"

#include <memory>

namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::StartsWith;

/// A task without the channel thread: the test drives the ticks.
class MessageTask : public ChannelFixture {
protected:
    void SetUp() override { Start(); }

    void TearDown() override {
        CMessageTask::Delete();
        EXPECT_TRUE(records_.WaitForLog("CMessageTask::MsgThreadProc end", started_));
    }

    void Start() {
        task_ = CMessageTask::Init(ChannelRecords::Receive, ChannelRecords::Log, "name");
        ASSERT_NE(task_, nullptr);
        ++started_;
    }

    /// @return the task's window once the task knows it; its log line comes after that.
    HWND Server(std::size_t created = 1) {
        EXPECT_TRUE(records_.WaitForLog("creatWind success, m_hSendWnd = ", created));
        return PeerWindow::FindServer();
    }

    /// One receive tick for each of `count` messages.
    std::vector<std::string> Receive(int count) {
        for (int i = 0; i < count; ++i) {
            task_->ProcessRecvQueue();
        }
        return records_.received.All();
    }

    static std::string Pattern(std::size_t length) {
        std::string text;
        while (text.size() < length) {
            text += std::to_string(text.size()) + " ";
        }
        return text.substr(0, length);
    }

    CMessageTask* task_ = nullptr;
    std::size_t started_ = 0;
};

// The peer's window fails the test when a segment is not as long as it has to be.
TEST_F(MessageTask, SendsEveryLengthAsThePeerExpectsIt) {
    const struct {
        std::size_t length;
        ULONG_PTR number; // the counter starts at 1 and goes up first
    } cases[] = {{1, 0}, {1023, 0}, {1024, 2}, {2022, 3}, {2023, 4}};
    PeerWindow peer;
    const HWND server = Server();
    for (const auto& test : cases) {
        SCOPED_TRACE(test.length);
        peer.Wire().Clear();
        peer.Messages().Clear();
        ASSERT_EQ(task_->SendCmdDataDirect(Pattern(test.length)), 0);
        EXPECT_THAT(peer.Wire().All(),
                    Each(AllOf(Field(&WireMessage::number, test.number), Field(&WireMessage::sender, server))));
        EXPECT_THAT(peer.Messages().All(), ElementsAre(Pattern(test.length)));
    }
}

TEST_F(MessageTask, ReportsAnAbsentClientAndKeepsItsMessages) {
    Server();
    EXPECT_EQ(task_->SendCmdData("x"), 2);
    EXPECT_EQ(task_->SendCmdDataDirect("x"), 2);
    EXPECT_FALSE(task_->IsConnected());
    EXPECT_EQ(records_.CountLog("CMessageTask::SendCmdData failed, receive window is not exist"), 2u);
    EXPECT_EQ(task_->SendCmdData(""), 1);
    EXPECT_EQ(records_.CountLog("CMessageTask::Send failed, data is empty"), 1u);
    {
        PeerWindow peer;
        EXPECT_FALSE(task_->IsConnected()) << "the test must not look the window up";
        EXPECT_EQ(task_->SendCmdData("kept 1"), 0);
        EXPECT_EQ(task_->SendCmdData("kept 2"), 0);
        EXPECT_TRUE(task_->IsConnected());
    }
    EXPECT_FALSE(task_->IsConnected());
    task_->ProcessSendQueue();
    PeerWindow back;
    task_->ProcessSendQueue();
    EXPECT_THAT(back.Messages().All(), ElementsAre("kept 1")) << "one message for each tick";
    task_->ProcessSendQueue();
    EXPECT_THAT(back.Messages().All(), ElementsAre("kept 1", "kept 2"));
}

TEST_F(MessageTask, TellsOfADisconnectAfter200TicksInARow) {
    Server();
    const auto ticks = [this](int count) {
        for (int i = 0; i < count; ++i) {
            task_->ProcessSendQueue();
        }
        return records_.received.All().size();
    };
    EXPECT_EQ(ticks(150), 0u);
    {
        PeerWindow peer;
        EXPECT_EQ(ticks(1), 0u);
    }
    EXPECT_EQ(ticks(199), 0u) << "a client that was there starts the count anew";
    EXPECT_EQ(ticks(1), 1u);
    EXPECT_EQ(ticks(199), 1u);
    EXPECT_EQ(ticks(1), 2u);
    EXPECT_THAT(records_.received.All(), Contains("NBM_NOTIFY_ID_SDK_DISCONNECTED"));
}

TEST_F(MessageTask, GivesUpOnAHangingClientAtTheFirstSegment) {
    PeerWindow peer;
    Server();
    peer.Hang();
    EXPECT_EQ(task_->SendCmdDataDirect(std::string(5000, 'x')), -1);
    EXPECT_EQ(records_.CountLog("CMessageTask::SendData sno: 2"), 1u);
    EXPECT_EQ(records_.CountLog("CMessageTask::SendData end, sno: 2"), 1u);
    EXPECT_THAT(
        records_.log.All(),
        Contains(StartsWith("CMessageTask::SendData split message SendMessageTimeout failed, ret = ")).Times(1));
    peer.Wake();
    EXPECT_EQ(task_->SendCmdDataDirect("awake"), 0);
    EXPECT_TRUE(peer.Messages().WaitUntil([](const auto& texts) { return !texts.empty() && texts.back() == "awake"; }));
}

TEST_F(MessageTask, DropsWhatIsNoMessage) {
    const HWND server = Server();
    const std::string lonely = "%pre_nbmsdk%lonely%end_flag%";
    EXPECT_TRUE(PeerWindow::SendRaw(server, 0, "", 1));
    EXPECT_TRUE(PeerWindow::SendRaw(server, 0, nullptr, 0));
    EXPECT_TRUE(PeerWindow::SendRaw(server, 5, nullptr, 0));
    EXPECT_TRUE(PeerWindow::SendRaw(server, 5, "%pre_nbmsdk%", 13));
    EXPECT_TRUE(PeerWindow::SendRaw(server, 5, "no prefix%end_flag%", 20));
    EXPECT_TRUE(PeerWindow::SendRaw(server, 5, lonely.c_str(), lonely.size() + 1));
    EXPECT_TRUE(PeerWindow::SendRaw(server, 0, "cut\0off", 8));
    EXPECT_THAT(Receive(8), ElementsAre("lonely", "cut"));
}

/// Bytes that end where the readable memory ends.
class PageEnd {
public:
    explicit PageEnd(std::string_view bytes) {
        memory_ = static_cast<char*>(::VirtualAlloc(nullptr, 2 * kPage, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE));
        DWORD old = 0;
        ::VirtualProtect(memory_ + kPage, kPage, PAGE_NOACCESS, &old);
        start_ = memory_ + kPage - bytes.size();
        std::copy(bytes.begin(), bytes.end(), start_);
    }
    ~PageEnd() { ::VirtualFree(memory_, 0, MEM_RELEASE); }
    PageEnd(const PageEnd&) = delete;
    PageEnd& operator=(const PageEnd&) = delete;
    const char* Bytes() const { return start_; }

private:
    static constexpr std::size_t kPage = 4096;
    char* memory_;
    char* start_;
};

TEST_F(MessageTask, UnterminatedTextEndsWithItsData) {
    const HWND server = Server();
    const PageEnd text("open end");
    const PageEnd segment("%pre_nbmsdk%open end%end_flag%");
    EXPECT_TRUE(PeerWindow::SendRaw(server, 0, text.Bytes(), 8));
    EXPECT_TRUE(PeerWindow::SendRaw(server, 9, segment.Bytes(), 30));
    EXPECT_THAT(Receive(2), ElementsAre("open end", "open end"));
}

TEST_F(MessageTask, ClientTextIsNeverAFormatAndIsCutInTheLog) {
    PeerWindow peer;
    Server();
    const std::string hostile = "{\"cmd\":\"%s%n%999999d\",\"description\":\"%d\",\"rps\":[1,2]\n,\"nty\":9}";
    ASSERT_TRUE(peer.Send(hostile));
    EXPECT_THAT(Receive(1), ElementsAre(hostile));
    for (const char* const logged : {"cmd = \"cmd\":\"%s%n%999999d\"", "description = \"description\":\"%d\"",
                                     "rps = \"rps\":[1,2]", "nty = \"nty\":9}"}) {
        EXPECT_EQ(records_.CountLog(std::string("CMessageTask::PrintMsg data ") + logged), 1u) << logged;
    }
    const std::string description = "\"description\":" + std::string(5000, '%');
    EXPECT_EQ(task_->SendCmdDataDirect(description), 0);
    const std::string line = "CMessageTask::PrintMsg data description = " + description;
    EXPECT_EQ(records_.CountLog(line.substr(0, 1023)), 1u);
}

TEST_F(MessageTask, WindowHealsWhenSomebodyElseClosesIt) {
    const HWND first = Server();
    ::PostMessageW(first, WM_CLOSE, 0, 0);
    const HWND second = Server(2);
    EXPECT_EQ(records_.CountLog("CMessageTask::WndProc window was destroyed"), 1u);
    EXPECT_TRUE(PeerWindow::SendRaw(second, 0, "healed", 7));
    EXPECT_THAT(Receive(1), ElementsAre("healed"));
}

// Any program can send the messages by which the system announces a window's end, its creation and its title.
TEST_F(MessageTask, ForgedSystemMessagesLeaveTheWindowWhole) {
    struct Case {
        UINT message;
        bool posted;
        WPARAM wParam;
        LPARAM lParam;
        bool quits;
    };
    CREATESTRUCTW create{};
    create.lpszName = L"forged";
    create.lpszClass = L"forged";
    const auto creation = reinterpret_cast<LPARAM>(&create);
    const Case cases[] = {
        {WM_DESTROY, false, 0, 0, true},        {WM_DESTROY, true, 0, 0, true},
        {WM_NCDESTROY, false, 0, 0, false},     {WM_NCCREATE, false, 0, creation, false},
        {WM_CREATE, false, 0, creation, false}, {WM_SETTEXT, false, 0, reinterpret_cast<LPARAM>(L"forged"), false},
        {WM_QUIT, false, 0, 0, false},          {WM_QUIT, true, 0, 0, true},
        {WM_ENDSESSION, false, TRUE, 0, false}};
    PeerWindow peer;
    const HWND server = Server();
    std::size_t quits = 0;
    std::size_t received = 0;
    for (const Case& c : cases) {
        SCOPED_TRACE(std::to_string(c.message) + (c.posted ? " posted" : " sent"));
        if (c.posted) {
            ASSERT_TRUE(::PostMessageW(server, c.message, c.wParam, c.lParam));
        } else {
            ::SendMessageW(server, c.message, c.wParam, c.lParam);
        }
        quits += c.quits ? 1 : 0;
        ASSERT_TRUE(records_.WaitForLog("CMessageTask::CreateMsgWind hSendWindow is exist", quits));
        EXPECT_EQ(PeerWindow::FindServer(), server);
        EXPECT_EQ(::FindWindowExW(HWND_MESSAGE, server, wire::kAddinWindow, nullptr), nullptr) << "a second window";
        ASSERT_TRUE(peer.Send("whole"));
        ASSERT_TRUE(peer.Send(std::string(3000, 's')));
        received += 2;
        EXPECT_THAT(Receive(2), SizeIs(received));
        EXPECT_EQ(task_->SendCmdDataDirect("out"), 0);
    }
    EXPECT_EQ(records_.CountLog("CMessageTask::WndProc window was destroyed"), 2u);
}

TEST_F(MessageTask, QuickRestartsLeaveOneWorkingWindow) {
    for (int i = 0; i < 50; ++i) {
        CMessageTask::Delete();
        Start();
        if (i % 7 == 0) {
            ::Sleep(static_cast<DWORD>(i % 5)); // meets the threads in different places
        }
    }
    // All threads but the last have ended, and none of them took the class or the window of a later one away.
    ASSERT_TRUE(records_.WaitForLog("CMessageTask::MsgThreadProc end", started_ - 1));
    PeerWindow peer;
    const HWND server = PeerWindow::FindServer();
    ASSERT_TRUE(PeerWindow::SendRaw(server, 0, "still here", 11));
    EXPECT_THAT(Receive(1), ElementsAre("still here"));
    EXPECT_EQ(task_->SendCmdDataDirect("and back"), 0);
    EXPECT_THAT(peer.Messages().All(), ElementsAre("and back"));
    EXPECT_EQ(::FindWindowExW(HWND_MESSAGE, server, wire::kAddinWindow, nullptr), nullptr) << "a window was left over";
}

TEST_F(MessageTask, LateWindowFindsNoTask) {
    WNDCLASSEXW windowClass{};
    windowClass.cbSize = sizeof(windowClass);
    const HWND old = Server();
    ASSERT_TRUE(::GetClassInfoExW(::GetModuleHandleW(nullptr), wire::kAddinWindow, &windowClass));
    const WNDPROC procedure = windowClass.lpfnWndProc;
    CMessageTask::Delete();
    COPYDATASTRUCT data{0, 5, const_cast<char*>("late")};
    procedure(old, WM_COPYDATA, 0, reinterpret_cast<LPARAM>(&data));
    procedure(old, WM_COPYDATA, 0, 0);
    ASSERT_TRUE(records_.WaitForLog("CMessageTask::MsgThreadProc end"));
    Start();
    const HWND window = Server(2);
    procedure(window == old ? nullptr : old, WM_COPYDATA, 0, reinterpret_cast<LPARAM>(&data));
    EXPECT_THAT(Receive(2), IsEmpty()) << "an old window's text reached the new task";
}

} // namespace
