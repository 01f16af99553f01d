#include "workbench/client/ClientProcess.h"

#include "workbench/client/Meetings.h"
#include "workbench/wire/Envelope.h"
#include "workbench/wire/Window.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <stdexcept>

namespace meeting_client {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

constexpr char kBook[] = R"({"cmd":4,"subject":"Plan","confId":"","confOutlookId":"",)"
                         R"("startTime":1700000000,"endTime":1700003600,"centerX":10,"centerY":20})";

/// The client, and the add-in's channel window on a thread of its own.
class ClientTest : public testing::Test {
protected:
    using Received = std::pair<std::uint64_t, std::string>; // with the terminating NUL

    void Start(std::vector<std::wstring> arguments = {}) {
        ClientSettings settings;
        settings.arguments = std::move(arguments);
        client_.emplace(settings);
    }
    /// Waits for at least `count` messages. @return all that the add-in has got; empty ones stand for those missing.
    std::vector<Received> Await(std::size_t count) {
        const auto arrived = [&] {
            const std::scoped_lock hold(lock_);
            return received_.size() >= count;
        };
        EXPECT_TRUE(client_->WaitUntil(arrived, ClientProcess::kUsualLimit));
        const std::scoped_lock hold(lock_);
        received_.resize(std::max(received_.size(), count));
        return received_;
    }
    bool Tell(const std::string& text, std::uint64_t number = 0, UINT limit = 5000) {
        const HWND window = client_->Window();
        return wire::SendBytes(window, addin_.Get(), number, text.c_str(), text.size() + 1, limit) == ERROR_SUCCESS;
    }
    std::optional<ClientProcess> client_;
    std::atomic<DWORD> answerDelay_ = 0; // ms for each arrival, as on a busy machine

private:
    std::mutex lock_;
    std::vector<Received> received_;
    wire::WindowThread addin_{wire::kAddinWindow, [this](HWND, const COPYDATASTRUCT& data) {
                                  const auto* bytes = static_cast<const char*>(data.lpData);
                                  {
                                      const std::scoped_lock hold(lock_);
                                      received_.emplace_back(data.dwData, bytes ? std::string(bytes, data.cbData)
                                                                                : std::string("null"));
                                  }
                                  ::Sleep(answerDelay_);
                                  return TRUE;
                              }};
};

TEST_F(ClientTest, WritesDownMessagesAndMistakes) {
    Start();
    EXPECT_TRUE(Tell("no JSON"));
    EXPECT_TRUE(Tell("no prefix", 7));
    std::vector<std::string> faults;
    for (const TranscriptEntry& entry : client_->Transcript()) {
        if (entry.kind == "fault") {
            faults.push_back(entry.bytes);
        }
    }
    EXPECT_THAT(faults, ElementsAre("the message is no JSON object", "segment without its prefix"));
    EXPECT_THAT(client_->Messages("in"), ElementsAre("no JSON"));
    EXPECT_EQ(client_->Order("notify 7").reason, "notify needs a JSON object");
    EXPECT_THROW(ClientProcess{}, std::runtime_error) << "a second client";
    EXPECT_TRUE(client_->Quit());
    EXPECT_EQ(client_->ExitCode(), 0U);
}

TEST_F(ClientTest, AnswersFollowTheirRules) {
    Start();
    ASSERT_TRUE(client_->Order(R"(answer 4 merge {"code":7,"url":null})").done);
    ASSERT_TRUE(Tell(kBook));
    const Json::Value merged = ParseObject(Await(1)[0].second.c_str()).value_or(Json::objectValue);
    EXPECT_EQ(merged["code"], 7);
    EXPECT_FALSE(merged.isMember("url"));
    EXPECT_EQ(merged["subject"], "Plan");
    ASSERT_TRUE(client_->Order("answer 4 none").done);
    ASSERT_TRUE(Tell(kBook));
    ASSERT_TRUE(client_->Order("answer 4 text no JSON {").done);
    ASSERT_TRUE(Tell(kBook));
    EXPECT_STREQ(Await(2)[1].second.c_str(), "no JSON {"); // nothing came for the one before
}

TEST_F(ClientTest, BytesTravelAsOrdered) {
    Start({L"--first-number", L"4294967295"});
    for (const char* order : {"raw 5 25706cff", "raw 4294967295 6100", "raw 0 null", "bulk 2 1024"}) {
        EXPECT_TRUE(client_->Order(order).done) << order;
    }
    const auto received = Await(7); // two segments for each of the last
    EXPECT_EQ(received[0], Received(5, "%pl\xFF"));
    EXPECT_EQ(received[1], Received(4'294'967'295U, std::string("a\0", 2)));
    EXPECT_EQ(received[2], Received(0, "null"));
    EXPECT_EQ(received[4].first, 4'294'967'295U);
    EXPECT_EQ(received[5].first, 1U);
    EXPECT_EQ(received[5].second.size(), 1024U);
    EXPECT_TRUE(client_->WaitForEntry([](const TranscriptEntry& entry) { return entry.bytes == "%pl\xFF"; }));
}

// Tests that compare the transcript with the arrived messages rely on this order. Once, an order that arrived during
// the handling of a message was carried out inside it, and its own message was recorded first.
TEST_F(ClientTest, TheTranscriptHasTheOrderInWhichMessagesArrive) {
    Start();
    answerDelay_ = 300;
    ASSERT_TRUE(client_->Order("bulk 1 100").done);
    Await(1);
    ASSERT_TRUE(client_->Order("send second").done);
    client_->WaitUntil([&] { return client_->Messages("out").size() >= 2; }, ClientProcess::kUsualLimit);
    EXPECT_THAT(client_->Messages("out"), ElementsAre(HasSubstr("900"), "second"));
}

TEST_F(ClientTest, HangsWhenOrdered) {
    Start();
    ASSERT_TRUE(client_->Order("hang 3000").done);
    EXPECT_FALSE(Tell("{}", 0, 200));
    EXPECT_TRUE(Tell("{}"));
}

TEST_F(ClientTest, DiesInTheMiddleOfASegmentedMessage) {
    Start();
    client_->Order("die-midway 5000 2");
    ASSERT_TRUE(client_->WaitForEnd());
    EXPECT_EQ(client_->ExitCode(), 9U);
    const auto received = Await(2);
    ASSERT_EQ(received.size(), 2U);
    EXPECT_EQ(received[0].first, received[1].first);
}

TEST_F(ClientTest, LeavesNoProcessBehindEvenWhenItHangs) {
    Start();
    const UniqueHandle process(::OpenProcess(SYNCHRONIZE, FALSE, client_->ProcessId()));
    ASSERT_TRUE(client_->Order("hang 60000").done);
    client_.reset();
    EXPECT_EQ(::WaitForSingleObject(process.Get(), 5000), WAIT_OBJECT_0);
    Start({L"--max-seconds", L"1"});
    ASSERT_TRUE(client_->Order("hang 60000").done);
    EXPECT_TRUE(client_->WaitForEnd());
    EXPECT_EQ(client_->ExitCode(), 5U);
}

} // namespace
} // namespace meeting_client
