#include "tests/channel/ChannelFixture.h"

#include "channel/CMessageTask.h"
#include "channel/ChannelGlobals.h"
#include "channel/uisdk_protocol.h"

namespace {

using ::testing::Contains;
using ::testing::ElementsAreArray;

class Protocol : public ChannelFixture {
protected:
    void TearDown() override { Stop(); }

    /// Also waits for the window, which the ending thread takes down.
    static void Stop() {
        EXPECT_EQ(uisdk_protocol_stop(), 0);
        EXPECT_TRUE(PeerWindow::WaitForNoServer());
    }

    /// The channel with its window there.
    static void StartAndWait() {
        ASSERT_EQ(uisdk_protocol_start(ChannelRecords::Receive, ChannelRecords::Log, "name"), 0);
        ASSERT_NE(PeerWindow::FindServer(), nullptr);
    }
};

TEST_F(Protocol, AnswersBeforeStartAndAfterStop) {
    const auto expectStopped = [] {
        EXPECT_EQ(uisdk_protocol_send("x"), -1);
        EXPECT_EQ(uisdk_protocol_send_direct("x"), -1);
        EXPECT_EQ(uisdk_protocol_stop(), 0);
    };
    expectStopped();
    EXPECT_EQ(uisdk_protocol_start(nullptr, ChannelRecords::Log, ""), 1);
    EXPECT_EQ(uisdk_protocol_start(ChannelRecords::Receive, nullptr, ""), 1);
    EXPECT_EQ(g_messageTask, nullptr);
    StartAndWait();
    EXPECT_EQ(records_.CountLog("uisdk_protocol_start CreateChannel ret=0"), 1u);
    for (const char* nothing : {static_cast<const char*>(nullptr), ""}) {
        EXPECT_EQ(uisdk_protocol_send(nothing), 1);
        EXPECT_EQ(uisdk_protocol_send_direct(nothing), -1);
    }
    EXPECT_EQ(uisdk_protocol_stop(), 0);
    EXPECT_EQ(records_.CountLog("uisdk_protocol_stop CloseChannel ret=0"), 1u);
    records_.log.Clear();
    expectStopped();
    EXPECT_EQ(records_.CountLog("uisdk_protocol_send failed, g_messageTask or g_channelWnd is nullptr"), 1u);
}

TEST_F(Protocol, SecondStartKeepsTheFirstCallbacks) {
    StartAndWait();
    EXPECT_EQ(uisdk_protocol_start([](const char*) { ADD_FAILURE(); }, [](const char*) { ADD_FAILURE(); }, ""), 0);
    PeerWindow peer;
    ASSERT_TRUE(peer.Send("to the first"));
    EXPECT_TRUE(records_.received.WaitForCount(1));
    EXPECT_THAT(records_.received.All(), Contains("to the first"));
}

TEST_F(Protocol, CarriesMessagesInOrderBothWaysThroughRestarts) {
    const std::vector<std::string> texts = {"1", std::string(3000, '2'), "3"};
    for (int round = 0; round < 3; ++round) {
        SCOPED_TRACE(round);
        records_.received.Clear();
        PeerWindow peer;
        StartAndWait();
        for (const std::string& text : texts) {
            ASSERT_EQ(uisdk_protocol_send(text.c_str()), 0);
            ASSERT_TRUE(peer.Send(text));
        }
        EXPECT_TRUE(peer.Messages().WaitForCount(texts.size()));
        EXPECT_TRUE(records_.received.WaitForCount(texts.size()));
        EXPECT_THAT(peer.Messages().All(), ElementsAreArray(texts));
        EXPECT_THAT(records_.received.All(), ElementsAreArray(texts));
        Stop();
    }
}

TEST_F(Protocol, StopSendsUpToFifteenWaitingMessages) {
    PeerWindow peer;
    StartAndWait();
    constexpr std::size_t kQueued = 400;
    for (std::size_t i = 0; i < kQueued; ++i) {
        ASSERT_EQ(uisdk_protocol_send("waiting"), 0);
    }
    const std::size_t before = peer.Messages().All().size();
    EXPECT_EQ(uisdk_protocol_stop(), 0);
    const std::size_t sent = peer.Messages().All().size() - before;
    EXPECT_GE(sent, 15u);
    EXPECT_LE(sent, 40u) << "one for each pass, beside the ticks before the stop was seen";
}

TEST_F(Protocol, ThrowingCallbackDoesNotEndTheChannel) {
    PeerWindow peer;
    StartAndWait();
    records_.throwOnReceive = true;
    ASSERT_TRUE(peer.Send("1"));
    ASSERT_TRUE(peer.Send("2"));
    EXPECT_TRUE(records_.received.WaitForCount(2));
    EXPECT_EQ(uisdk_protocol_send("out"), 0);
    EXPECT_TRUE(peer.Messages().WaitForCount(1));
}

} // namespace
