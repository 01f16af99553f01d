#include "workbench/client/ClientProcess.h"

#include "tests/workbench/client/FakeAddin.h"

#include <gtest/gtest.h>

#include <optional>

namespace meeting_client {
namespace {

constexpr DWORD kDied = 9;

TEST(FaultyClient, WhileItHangsNothingIsTaken) {
    FakeAddin addin;
    ClientProcess client;
    const HWND window = client.Window();
    ASSERT_TRUE(client.Order("hang 3000").done);
    EXPECT_FALSE(addin.Tell(window, "{}", 0, 200));
    EXPECT_TRUE(addin.Tell(window, "{}", 0, 5000));
    EXPECT_TRUE(client.WaitForEntry([](const TranscriptEntry& e) { return e.bytes == "hangs no more"; }));
}

TEST(FaultyClient, AHangInDeliveryKeepsTheSenderWaiting) {
    FakeAddin addin;
    ClientProcess client;
    ASSERT_TRUE(client.Order("on copydata 2 hang 3000").done);
    EXPECT_TRUE(addin.Tell(client.Window(), "{}", 0, 5000));
    EXPECT_FALSE(addin.Tell(client.Window(), "{}", 0, 200));
}

TEST(FaultyClient, DiesWhenOrderedEvenWhileItHangs) {
    ClientProcess client;
    ASSERT_TRUE(client.Order("hang 60000").done);
    EXPECT_FALSE(client.Order("die").done);
    EXPECT_TRUE(client.WaitForEnd());
    EXPECT_EQ(client.ExitCode(), kDied);
}

TEST(FaultyClient, DiesOnTheMessageThatWasNamed) {
    FakeAddin addin;
    ClientProcess client;
    ASSERT_TRUE(client.Order("on message 2 die").done);
    EXPECT_TRUE(addin.Tell(client.Window(), "{}"));
    EXPECT_TRUE(client.IsRunning());
    EXPECT_FALSE(addin.Tell(client.Window(), "{}"));
    EXPECT_TRUE(client.WaitForEnd());
    EXPECT_EQ(client.ExitCode(), kDied);
    EXPECT_EQ(client.Messages().size(), 2U); // what came last is written down all the same
}

TEST(FaultyClient, DiesInTheMiddleOfASegmentedMessage) {
    FakeAddin addin;
    ClientProcess client;
    client.Order("die-midway 5000 2");
    ASSERT_TRUE(client.WaitForEnd());
    EXPECT_EQ(client.ExitCode(), kDied);
    const auto received = addin.WaitFor(2);
    ASSERT_EQ(received.size(), 2U);
    EXPECT_EQ(received[1].size, 1024U);
    EXPECT_EQ(received[0].number, received[1].number);
}

TEST(FaultyClient, LeavesNoProcessBehind) {
    UniqueHandle process;
    {
        ClientProcess client;
        process.Reset(::OpenProcess(SYNCHRONIZE, FALSE, client.ProcessId()));
        ASSERT_TRUE(process);
        ASSERT_TRUE(client.Order("hang 60000").done);
    }
    EXPECT_EQ(::WaitForSingleObject(process.Get(), 5000), WAIT_OBJECT_0);
}

TEST(AttachedClient, TakesOrdersFromWhoeverFoundItAndEndsWithIt) {
    ClientProcess starter;
    ASSERT_EQ(ClientProcess::FindRunning(), starter.ProcessId());
    {
        ClientSettings settings;
        settings.attachTo = ClientProcess::FindRunning();
        ClientProcess finder(settings);
        EXPECT_TRUE(finder.Order("status").done);
        EXPECT_EQ(finder.Window(), starter.Window());
    }
    EXPECT_TRUE(starter.WaitForEnd());
    EXPECT_EQ(ClientProcess::FindRunning(), 0U);
}

TEST(FaultyClient, EndsByItselfWhenItsTimeIsOver) {
    ClientSettings settings;
    settings.arguments = {L"--max-seconds", L"1"};
    ClientProcess client(settings);
    EXPECT_TRUE(client.WaitForEnd());
    EXPECT_EQ(client.ExitCode(), 5U);
}

} // namespace
} // namespace meeting_client
