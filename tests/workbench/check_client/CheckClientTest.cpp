#include "workbench/check_client/Session.h"

#include "workbench/client/Faults.h"

#include "support/Text.h"

#include <gmock/gmock.h>
#include <json/reader.h>
#include <objbase.h>

#include <fstream>
#include <iterator>
#include <regex>
#include <set>
#include <sstream>

using check_client::Finding;
using check_client::Verdict;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr std::chrono::seconds kLimit(5);

std::vector<std::string> With(Verdict verdict, const std::vector<Finding>& findings) {
    std::vector<std::string> rules;
    for (const Finding& finding : findings) {
        if (finding.verdict == verdict) {
            rules.push_back(finding.rule);
        }
    }
    return rules;
}

class CheckClient : public testing::Test {
protected:
    CheckClient() { ::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED); }
    ~CheckClient() override { ::CoUninitialize(); }
};

} // namespace

TEST(CheckClientRules, QuoteTheProtocolPage) {
    std::ifstream file(PROTOCOL_PAGE, std::ios::binary);
    const std::string text(std::istreambuf_iterator<char>(file), {});
    const std::string page = std::regex_replace(text, std::regex("\\s+"), " ");
    std::set<std::string> ids;
    for (const check_client::Rule& rule : check_client::Rules()) {
        EXPECT_NE(page.find(rule.sentence), std::string::npos) << rule.sentence;
        EXPECT_TRUE(ids.insert(rule.id).second) << rule.id;
    }
}

TEST_F(CheckClient, StandInPassesAllRules) {
    const auto findings = check_client::CheckClient(check_client::ForStandIn({}, kLimit));
    EXPECT_THAT(With(Verdict::Fail, findings), IsEmpty()) << check_client::ToJson(findings);
    EXPECT_THAT(With(Verdict::NotTested, findings), IsEmpty()) << check_client::ToJson(findings);
    Json::Value report;
    std::istringstream(check_client::ToJson(findings)) >> report;
    EXPECT_EQ(report.size(), findings.size());
    EXPECT_EQ(report[0]["result"], "pass");
}

TEST_F(CheckClient, EachFaultFailsExactlyItsRule) {
    for (const meeting_client::Fault& fault : meeting_client::kFaults) {
        const auto findings =
            check_client::CheckClient(check_client::ForStandIn({L"--fault", ToWide(fault.name)}, kLimit));
        EXPECT_THAT(With(Verdict::Fail, findings), ElementsAre(fault.rule))
            << fault.name << check_client::ToJson(findings);
    }
}
