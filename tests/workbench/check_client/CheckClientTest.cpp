#include "workbench/check_client/StandIn.h"

#include "workbench/client/Faults.h"

#include "support/Text.h"

#include <gmock/gmock.h>
#include <json/reader.h>
#include <objbase.h>

#include <fstream>
#include <iterator>
#include <map>
#include <numeric>
#include <optional>
#include <set>
#include <sstream>

using check_client::Finding;
using check_client::Verdict;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr std::chrono::seconds kLimit(5);

/// With one blank in place of blanks and line ends.
std::string OneLine(const std::string& text) {
    std::istringstream words(text);
    return std::accumulate(std::istream_iterator<std::string>(words), {}, std::string(),
                           [](std::string line, const std::string& word) { return std::move(line) + word + " "; });
}

/// @param fault of the client that the checker starts; empty for none.
std::vector<Finding> Check(const check_client::StandIn& client, const std::string& fault = {}) {
    check_client::Settings settings = client.settings;
    if (!fault.empty()) {
        settings.arguments.insert(settings.arguments.end(), {L"--fault", ToWide(fault)});
    }
    return check_client::CheckClient(settings);
}

std::vector<std::string> With(Verdict verdict, const std::vector<Finding>& findings) {
    std::vector<std::string> rules;
    for (const Finding& finding : findings) {
        if (finding.verdict == verdict) {
            rules.push_back(finding.rule);
        }
    }
    return rules;
}

} // namespace

TEST(CheckClientRules, QuoteTheProtocolPage) {
    std::ifstream file(PROTOCOL_PAGE, std::ios::binary);
    const std::string page = OneLine({std::istreambuf_iterator<char>(file), {}});
    std::set<std::string> ids;
    for (const Finding& rule : check_client::AllRules()) {
        EXPECT_NE(page.find(OneLine(rule.sentence)), std::string::npos) << rule.sentence;
        EXPECT_TRUE(ids.insert(rule.rule).second) << rule.rule;
    }
}

class CheckClient : public testing::Test {
protected:
    CheckClient() { ::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED); }
    ~CheckClient() override { ::CoUninitialize(); }
};

TEST_F(CheckClient, StandInPassesAllRules) {
    const std::vector<Finding> findings = Check(check_client::StandIn({}, kLimit));
    EXPECT_THAT(With(Verdict::Fail, findings), IsEmpty()) << check_client::ToJson(findings);
    EXPECT_THAT(With(Verdict::NotTested, findings), IsEmpty()) << check_client::ToJson(findings);
    Json::Value report;
    std::istringstream(check_client::ToJson(findings)) >> report;
    EXPECT_EQ(report.size(), findings.size());
    EXPECT_EQ(report[0]["result"], "pass");
}

TEST_F(CheckClient, EachFaultFailsExactlyItsRule) {
    using meeting_client::Fault;
    const std::map<Fault, std::string> rules = {
        {Fault::WrongTitle, "window-name"},
        {Fault::EarlyWindow, "after-log-in"},
        {Fault::SmallBuffer, "size-2022"},
        {Fault::SplitCharacters, "cut-anywhere"},
        {Fault::WrongType, "modify"},
        {Fault::TextCode, "member-code"},
        {Fault::SameNumber, "own-numbers"},
        {Fault::StaleWindow, "new-window"},
        {Fault::DiesOnGarbage, "garbage"},
        {Fault::LosesBurst, "burst"},
        {Fault::SlowProcedure, "returns-in-time"},
        {Fault::IgnoresUri, "launch"},
    };
    std::optional<check_client::StandIn> client(std::in_place, std::vector<std::wstring>(), kLimit);
    for (const meeting_client::FaultName& fault : meeting_client::kFaultNames) {
        const bool launched = fault.fault == Fault::IgnoresUri; // made by the client that the URI starts
        if (launched) {
            client.reset();
            client.emplace(std::vector<std::wstring>{L"--fault", ToWide(fault.name)}, kLimit);
        }
        const std::vector<Finding> findings = Check(*client, launched ? "" : fault.name);
        EXPECT_THAT(With(Verdict::Fail, findings), ElementsAre(rules.at(fault.fault)))
            << fault.name << check_client::ToJson(findings);
    }
}
