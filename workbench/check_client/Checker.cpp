#include "workbench/check_client/Checker.h"

#include "workbench/check_client/Session.h"

#include <fmt/format.h>
#include <json/writer.h>

namespace check_client {
namespace {

const char* Name(Verdict verdict) {
    return verdict == Verdict::Pass ? "pass" : verdict == Verdict::Fail ? "fail" : "not tested";
}

std::string Line(const Finding& finding) {
    return fmt::format("{:<10}  {:<18}  {}{}", Name(finding.verdict), finding.rule, finding.sentence,
                       finding.remark.empty() ? "" : "\n" + std::string(32, ' ') + finding.remark);
}

Finding Judge(const Rule& rule, Session& session) {
    Finding finding{rule.id, rule.sentence, Verdict::Pass, {}};
    try {
        if (!session.named) {
            throw NotPassed(Verdict::NotTested, "there is no window of the right name");
        }
        if (rule.needsClient && !session.EnsureClient()) {
            throw NotPassed(Verdict::NotTested, "the client's window is not there");
        }
        session.ForgetAnswers();
        rule.check(session);
    } catch (const NotPassed& reason) {
        finding.verdict = reason.verdict;
        finding.remark = reason.what();
    }
    return finding;
}

} // namespace

std::vector<Finding> CheckClient(const Settings& settings) {
    Session session(settings);
    std::vector<Finding> findings;
    for (const Rule& rule : Rules()) {
        findings.push_back(Judge(rule, session));
        settings.tell(Line(findings.back()));
        if (rule.needsClient && findings.back().verdict == Verdict::Fail) {
            session.EndClient(); // so that one mistake does not become several
        }
    }
    return findings;
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
