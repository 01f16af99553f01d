#include "workbench/client/ClientProcess.h"

#include "tests/workbench/client/FakeAddin.h"
#include "workbench/client/Meetings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace meeting_client {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using namespace std::chrono_literals;

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
    // 1011 bytes, then the rest with the end mark, written out by hand.
    std::string command = kBook;
    command.insert(command.size() - 1, 1100 - command.size(), ' ');
    ASSERT_TRUE(addin.Tell(client.Window(), "%pre_nbmsdk%" + command.substr(0, 1011), 2));
    ASSERT_TRUE(addin.Tell(client.Window(), "%pre_nbmsdk%" + command.substr(1011) + "%end_flag%", 2));

    const auto received = addin.WaitFor(1);
    ASSERT_EQ(received.size(), 1U);
    EXPECT_EQ(received[0].sender, client.Window());
    EXPECT_EQ(received[0].number, 0U);
    ASSERT_EQ(received[0].bytes.back(), '\0');
    const std::string text = received[0].bytes.c_str();
    EXPECT_EQ(received[0].size, text.size() + 1);
    const auto answer = ParseObject(text);
    ASSERT_TRUE(answer);
    EXPECT_EQ((*answer)["notify"], 101);
    EXPECT_EQ((*answer)["subject"], "Plan");

    EXPECT_THAT(client.Messages("in"), ElementsAre(command));
    ASSERT_TRUE(client.WaitForMessages(1, ClientProcess::kUsualLimit, "out"));
    EXPECT_THAT(client.Messages("out"), ElementsAre(text));
    EXPECT_THAT(Faults(client), IsEmpty());
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

    ASSERT_TRUE(client.Order("answer 4 text no JSON {").done);
    EXPECT_EQ(answerTo(kBook), "no JSON {");

    ASSERT_TRUE(client.Order("ignore on").done);
    ASSERT_TRUE(addin.Tell(client.Window(), kBook));
    ASSERT_TRUE(client.Order("ignore off").done);
    EXPECT_EQ(answerTo(kBook), "no JSON {"); // nothing came for the ignored one

    ASSERT_TRUE(client.Order("change " + merged["confId"].asString() + R"( {"subject":"Other"})").done);
    EXPECT_THAT(addin.WaitFor(++answers).back().bytes, HasSubstr(R"("notify":200)"));
}

TEST(OrderedClient, RawBytesTravelAsOrdered) {
    FakeAddin addin;
    ClientProcess client;
    for (const char* order : {"raw 5 25706cff", "raw 4294967295 6100 1", "raw 0 null", "raw 1 61 3"}) {
        EXPECT_TRUE(client.Order(order).done) << order;
    }
    const auto received = addin.WaitFor(4);
    ASSERT_EQ(received.size(), 4U);
    EXPECT_EQ(received[0].number, 5U);
    EXPECT_EQ(received[0].bytes, "%pl\xFF");
    EXPECT_EQ(received[1].number, 4'294'967'295U);
    EXPECT_EQ(received[1].bytes, "a");
    EXPECT_TRUE(received[2].null);
    EXPECT_EQ(received[3].bytes, "a\xCD\xCD");
}

TEST(OrderedClient, BulkSendsThatManyOfThatSize) {
    FakeAddin addin;
    ClientProcess client;
    ASSERT_TRUE(client.Order("bulk 20 1024").done);
    const auto received = addin.WaitFor(40); // two segments each
    ASSERT_EQ(received.size(), 40U);
    for (std::size_t i = 0; i < 40; i += 2) {
        EXPECT_EQ(received[i].number, i / 2 + 1);
        EXPECT_EQ(received[i + 1].number, i / 2 + 1);
        EXPECT_EQ(received[i].size, 1024U);
        EXPECT_EQ(received[i + 1].size, 12U + 13U + 10U + 1U);
    }
    EXPECT_TRUE(client.WaitForEntry([](const TranscriptEntry& entry) { return entry.bytes == "bulk done"; }));
}

TEST(OrderedClient, AnOrderIsRefusedWithItsReason) {
    ClientProcess client;
    EXPECT_EQ(client.Order("dance").reason, "no such order");
    EXPECT_EQ(client.Order("notify 7").reason, "notify needs a JSON object");
    EXPECT_EQ(client.Order("change 1 {}").reason, "no such meeting");
    EXPECT_EQ(client.Order("torn 1024 2").done, false);
    EXPECT_EQ(client.Order("send hello").reason, "the add-in's window is not there");
}

TEST(LaunchedClient, HasItsWindowOnlyAfterTheLogIn) {
    ClientSettings settings;
    settings.arguments = {L"--login-after", L"manual", L"quorvex://meeting.example/h5page?page=launch"};
    settings.waitForWindow = false;
    ClientProcess client(settings);
    EXPECT_EQ(client.Window(), nullptr);
    EXPECT_TRUE(client.Order("login").done);
    EXPECT_NE(client.Window(), nullptr);
    EXPECT_TRUE(client.Order("hide").done);
    EXPECT_EQ(client.Window(), nullptr);
    EXPECT_TRUE(client.Order("show").done);
    EXPECT_EQ(::FindWindowW(L"NbmProxyOutlookClientWnd", L"NbmProxyOutlookClientWnd"), client.Window());
    EXPECT_THROW(ClientProcess{}, std::runtime_error) << "a second client";
}

TEST(ScriptedClient, GoesThroughItsScriptOrSaysWhichLineFailed) {
    const auto path = std::filesystem::temp_directory_path() /
                      ("nembra_client_script_" + std::to_string(::GetCurrentProcessId()) + ".txt");
    const auto run = [&](const std::string& text) {
        std::ofstream(path, std::ios::binary) << text;
        ClientSettings settings;
        settings.arguments = {L"--script", path.wstring()};
        ClientProcess client(settings);
        EXPECT_TRUE(client.WaitForEnd());
        return client.ExitCode();
    };
    FakeAddin addin;
    EXPECT_EQ(run("# greets and leaves\r\nwait-peer\r\nsend hello\r\nwait 200\r\nquit\r\n"), 0U);
    EXPECT_STREQ(addin.WaitFor(1).front().bytes.c_str(), "hello");
    EXPECT_EQ(run("wait 200\nwait-message 1 20\nquit\n"), 4U);
    std::filesystem::remove(path);
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

TEST(LiveClient, NumbersItsSegmentsFromWhereItIsTold) {
    FakeAddin addin;
    ClientSettings settings;
    settings.arguments = {L"--first-number", L"4294967295"};
    ClientProcess client(settings);
    ASSERT_TRUE(client.Order("sendsize 1024").done);
    ASSERT_TRUE(client.Order("sendsize 1024").done);
    const auto received = addin.WaitFor(4);
    ASSERT_EQ(received.size(), 4U);
    EXPECT_EQ(received[1].number, 4'294'967'295U);
    EXPECT_EQ(received[2].number, 1U);
}

} // namespace
} // namespace meeting_client
