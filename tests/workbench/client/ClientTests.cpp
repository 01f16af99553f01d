#include "workbench/client/ClientProcess.h"

#include "tests/workbench/client/FakeAddin.h"
#include "workbench/client/Meetings.h"
#include "workbench/wire/Envelope.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

namespace meeting_client {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr char kBook[] = R"({"cmd":4,"subject":"Plan","confId":"","confOutlookId":"",)"
                         R"("startTime":1700000000,"endTime":1700003600,"centerX":10,"centerY":20})";

std::vector<std::string> Faults(const ClientProcess& client) {
    std::vector<std::string> faults;
    for (const TranscriptEntry& entry : client.Transcript()) {
        if (entry.kind == "fault") {
            faults.push_back(entry.bytes);
        }
    }
    return faults;
}

TEST(LiveClient, ACommandInSegmentsIsAnsweredAndWrittenDown) {
    FakeAddin addin;
    ClientProcess client;
    std::string command = kBook;
    command.insert(command.size() - 1, 1100 - command.size(), ' ');
    ASSERT_TRUE(wire::Send(client.Window(), addin.Window(), command, 2));

    const auto received = addin.WaitFor(1);
    ASSERT_EQ(received.size(), 1U);
    EXPECT_EQ(received[0].sender, client.Window());
    const std::string text = received[0].bytes.c_str();
    EXPECT_THAT(wire::Joiner().Take(received[0].number, received[0].bytes.data(), received[0].bytes.size()).faults,
                IsEmpty());
    const auto answer = ParseObject(text);
    ASSERT_TRUE(answer);
    EXPECT_EQ((*answer)["notify"], 101);
    EXPECT_EQ((*answer)["subject"], "Plan");

    EXPECT_THAT(client.Messages("in"), ElementsAre(command));
    ASSERT_TRUE(client.WaitForMessages(1, ClientProcess::kUsualLimit, "out"));
    EXPECT_THAT(client.Messages("out"), ElementsAre(text));
    EXPECT_THAT(Faults(client), IsEmpty());
    // The client also writes down the add-in's mistakes.
    EXPECT_TRUE(addin.Tell(client.Window(), "no JSON"));
    EXPECT_TRUE(addin.Tell(client.Window(), "no prefix", 7));
    EXPECT_THAT(Faults(client), ElementsAre("the message is no JSON object", "segment without its prefix"));
    // A refused order says why.
    EXPECT_EQ(client.Order("notify 7").reason, "notify needs a JSON object");
    EXPECT_TRUE(client.Quit());
    EXPECT_EQ(client.ExitCode(), 0U);
}

TEST(LiveClient, AnswersFollowTheirRules) {
    FakeAddin addin;
    ClientProcess client;
    std::size_t answers = 0;
    const auto answerTo = [&](const std::string& command) {
        EXPECT_TRUE(addin.Tell(client.Window(), command));
        const auto received = addin.WaitFor(++answers);
        return received.size() == answers ? std::string(received.back().bytes.c_str()) : std::string("none");
    };
    ASSERT_TRUE(client.Order(R"(answer 4 merge {"code":7,"url":null})").done);
    const Json::Value merged = ParseObject(answerTo(kBook)).value_or(Json::Value(Json::objectValue));
    EXPECT_EQ(merged["code"], 7);
    EXPECT_FALSE(merged.isMember("url"));
    EXPECT_EQ(merged["subject"], "Plan");

    ASSERT_TRUE(client.Order("answer 4 none").done);
    ASSERT_TRUE(addin.Tell(client.Window(), kBook));
    ASSERT_TRUE(client.Order("answer 4 text no JSON {").done);
    EXPECT_EQ(answerTo(kBook), "no JSON {"); // nothing came for the one before

    ASSERT_TRUE(client.Order("change " + merged["confId"].asString() + R"( {"subject":"Other"})").done);
    EXPECT_THAT(addin.WaitFor(++answers).back().bytes, HasSubstr(R"("notify":200)"));
}

TEST(OrderedClient, BytesTravelAsOrdered) {
    FakeAddin addin;
    ClientSettings settings;
    settings.arguments = {L"--first-number", L"4294967295"};
    ClientProcess client(settings);
    for (const char* order : {"raw 5 25706cff", "raw 4294967295 6100 1", "raw 0 null", "raw 1 61 3", "bulk 2 1024"}) {
        EXPECT_TRUE(client.Order(order).done) << order;
    }
    const auto received = addin.WaitFor(8); // two segments for each of the last
    ASSERT_EQ(received.size(), 8U);
    EXPECT_EQ(received[0].number, 5U);
    EXPECT_EQ(received[0].bytes, "%pl\xFF");
    EXPECT_EQ(received[1].number, 4'294'967'295U);
    EXPECT_EQ(received[1].bytes, "a");
    EXPECT_TRUE(received[2].null);
    EXPECT_EQ(received[3].bytes, "a\xCD\xCD");
    EXPECT_EQ(received[5].number, 4'294'967'295U);
    EXPECT_EQ(received[6].number, 1U);
    EXPECT_EQ(received[6].size, 1024U);
    EXPECT_TRUE(client.WaitForEntry([](const TranscriptEntry& entry) { return entry.bytes == "%pl\xFF"; }));
}

TEST(LaunchedClient, HasItsWindowOnlyAfterTheLogIn) {
    ClientSettings settings;
    settings.arguments = {L"--login-after", L"manual", L"quorvex://meeting.example/h5page?page=launch"};
    settings.waitForWindow = false;
    ClientProcess client(settings);
    EXPECT_EQ(client.Window(), nullptr);
    EXPECT_TRUE(client.Order("show").done);
    EXPECT_EQ(wire::Find(wire::kClientWindow), client.Window());
    EXPECT_NE(client.Window(), nullptr);
    EXPECT_THROW(ClientProcess{}, std::runtime_error) << "a second client";
    EXPECT_TRUE(client.Order("hide").done);
    EXPECT_EQ(client.Window(), nullptr);
}

// Tests that compare the transcript with the arrived messages rely on this order. Once, an order that arrived during
// the handling of a message was carried out inside it, and its own message was recorded first.
TEST(LiveClient, TheTranscriptHasTheOrderInWhichMessagesArrive) {
    FakeAddin addin;
    ClientProcess client;
    addin.AnswerAfter(300);
    ASSERT_TRUE(client.Order("bulk 1 100").done);
    ASSERT_EQ(addin.WaitFor(1).size(), 1U);
    ASSERT_TRUE(client.Order("send second").done);
    ASSERT_EQ(addin.WaitFor(2).size(), 2U);
    ASSERT_TRUE(client.WaitForMessages(2, ClientProcess::kUsualLimit, "out"));
    EXPECT_THAT(client.Messages("out"), ElementsAre(HasSubstr("900"), "second"));
}

constexpr DWORD kDied = 9;

TEST(FaultyClient, HangsAndDiesWhenOrdered) {
    FakeAddin addin;
    ClientProcess client;
    const HWND window = client.Window();
    ASSERT_TRUE(client.Order("hang 3000").done);
    EXPECT_FALSE(addin.Tell(window, "{}", 0, 200));
    EXPECT_TRUE(addin.Tell(window, "{}", 0, 5000));
    ASSERT_TRUE(client.Order("hang 60000").done);
    EXPECT_FALSE(client.Order("die").done);
    EXPECT_TRUE(client.WaitForEnd());
    EXPECT_EQ(client.ExitCode(), kDied);
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
    ClientSettings settings;
    settings.arguments = {L"--max-seconds", L"1"};
    ClientProcess client(settings);
    EXPECT_TRUE(client.WaitForEnd());
    EXPECT_EQ(client.ExitCode(), 5U);
}

} // namespace
} // namespace meeting_client
