#include "workbench/check_client/Checker.h"

#include "workbench/check_client/Session.h"

#include <fmt/format.h>
#include <json/writer.h>

#include <algorithm>

namespace check_client {
namespace {

const char* Name(Verdict verdict) {
    return verdict == Verdict::Pass ? "pass" : verdict == Verdict::Fail ? "fail" : "not tested";
}

std::string Line(const Finding& finding) {
    return fmt::format("{:<10}  {:<18}  {}{}", Name(finding.verdict), finding.rule, finding.sentence,
                       finding.remark.empty() ? "" : "\n" + std::string(32, ' ') + finding.remark);
}

void Judge(const Rule& rule, Session& session, Finding& finding) {
    try {
        if (rule.needs == Needs::Client && !session.EnsureClient()) {
            throw NotTested("the client's window is not there");
        }
        if (rule.needs == Needs::Messages && session.notifications.empty()) {
            throw NotTested("the client sent no notification");
        }
        session.ForgetAnswers();
        finding.remark = rule.check(session);
        finding.verdict = finding.remark.empty() ? Verdict::Pass : Verdict::Fail;
    } catch (const NotTested& reason) {
        finding.remark = reason.what();
    }
    if (finding.verdict == Verdict::Fail && rule.needs == Needs::Client) {
        session.DistrustClient();
    }
}

} // namespace

std::vector<Finding> AllRules() {
    std::vector<Finding> all;
    for (const Rule& rule : Rules()) {
        all.push_back({rule.id, rule.sentence, Verdict::NotTested, {}});
    }
    return all;
}

std::vector<Finding> CheckClient(const Settings& settings) {
    Session session(settings);
    std::vector<Finding> findings = AllRules();
    bool named = true;
    for (std::size_t i = 0; i < findings.size(); ++i) {
        Finding& finding = findings[i];
        if (named) {
            Judge(Rules()[i], session, finding);
            named = finding.rule != "window-name" || finding.verdict == Verdict::Pass;
        } else {
            finding.remark = "there is no window of the right name";
        }
        settings.tell(Line(finding));
    }
    return findings;
}

std::size_t CountOf(const std::vector<Finding>& findings, Verdict verdict) {
    return static_cast<std::size_t>(std::ranges::count(findings, verdict, &Finding::verdict));
}

std::string ToJson(const std::vector<Finding>& findings) {
    Json::Value report(Json::arrayValue);
    for (const Finding& finding : findings) {
        Json::Value entry;
        entry["rule"] = finding.rule;
        entry["sentence"] = finding.sentence;
        entry["result"] = Name(finding.verdict);
        entry["remark"] = finding.remark;
        report.append(entry);
    }
    Json::StreamWriterBuilder writer;
    writer["indentation"] = "  ";
    writer["emitUTF8"] = true;
    return Json::writeString(writer, report) + "\n";
}

} // namespace check_client
