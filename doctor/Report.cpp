#include "doctor/Report.h"

#include "doctor/Texts.h"
#include "resources/version.h"
#include "support/Text.h"

#include <json/json.h>

#include <algorithm>

namespace doctor {
namespace {

std::ptrdiff_t Count(const std::vector<Finding>& findings, Verdict verdict) {
    return std::count_if(findings.begin(), findings.end(),
                         [verdict](const Finding& finding) { return finding.GetVerdict() == verdict; });
}

/// The finding to begin with: the first one of the gravest. Causes stand before their effects. Null when nothing asks
/// for an action.
const Finding* MostUrgent(const std::vector<Finding>& findings) {
    const auto gravest =
        std::max_element(findings.begin(), findings.end(), [](const Finding& one, const Finding& other) {
            return one.GetVerdict() < other.GetVerdict();
        });
    return gravest == findings.end() || gravest->GetVerdict() < Verdict::Unknown ? nullptr : &*gravest;
}

std::wstring Overall(const std::vector<Finding>& findings, bool loaded, Language language) {
    const auto fill = [&](const Text& text, Verdict verdict) {
        return Fill(text[language], {std::to_wstring(Count(findings, verdict))});
    };
    switch (CodeOf(findings)) {
    case kFaultFound:
        return fill(texts::kFaults, Verdict::Fail);
    case kOnlyWarnings:
        return fill(texts::kWarnings, Verdict::Warn);
    case kCouldNotLook:
        return texts::kNotEverything[language];
    case kNothingFound:
        break;
    }
    return (loaded ? texts::kAllLoaded : texts::kAllWell)[language];
}

/// The lines below a finding in the report: the advice, the administrator's commands, the program's own repair.
std::wstring Remedy(const Finding& finding, const std::wstring& indent, Language language) {
    std::wstring lines;
    for (const std::wstring& command : finding.Commands()) {
        lines.append(indent).append(L"  ").append(command).append(L"\n");
    }
    if (!finding.Repairs().empty()) {
        const std::wstring command = std::wstring(L"OutlookAddInDoctor --fix ") + finding.Id();
        lines += indent + Fill(texts::kOwnRepair[language], {command}) + L"\n";
    }
    return lines;
}

std::wstring Padded(std::wstring text, std::size_t width) {
    text.resize(std::max(width, text.size()), L' ');
    return text;
}

} // namespace

ExitCode CodeOf(const std::vector<Finding>& findings) {
    if (Count(findings, Verdict::Fail) != 0) {
        return kFaultFound;
    }
    if (Count(findings, Verdict::Warn) != 0) {
        return kOnlyWarnings;
    }
    return Count(findings, Verdict::Unknown) != 0 ? kCouldNotLook : kNothingFound;
}

const wchar_t* VerdictText(Verdict verdict) {
    constexpr const wchar_t* kTexts[] = {L"OK", L"INFO", L"?", L"WARN", L"FAIL"};
    return kTexts[static_cast<std::size_t>(verdict)];
}

std::wstring TextReport(const std::vector<Finding>& findings, bool loaded, Language language) {
    const std::wstring indent(8, L' ');
    std::wstring report = ToWide("OutlookAddInDoctor " ADDIN_VERSION_TEXT "\n");
    report += Overall(findings, loaded, language) + L"\n";
    if (const Finding* urgent = MostUrgent(findings)) {
        report +=
            texts::kToDo[language] + urgent->Fix() + L" (" + urgent->Id() + L")\n" + Remedy(*urgent, L"", language);
    }
    report += L"\n";
    for (const Finding& finding : findings) {
        report += L"[" + Padded(VerdictText(finding.GetVerdict()), 4) + L"]  " + Padded(finding.Id(), 4) +
                  Padded(finding.Name(), 22) + finding.Fact() + L"\n";
        if (!finding.Fix().empty()) {
            report += indent + texts::kFixLabel[language] + finding.Fix() + L"\n";
        }
        report += Remedy(finding, indent, language);
    }
    if (loaded) {
        report += std::wstring(L"\n") + texts::kSkipped[language] + L"\n";
    }
    return report;
}

std::string JsonReport(const std::vector<Finding>& findings) {
    Json::Value report;
    report["version"] = ADDIN_VERSION_TEXT;
    report["exitCode"] = static_cast<int>(CodeOf(findings));
    const Finding* urgent = MostUrgent(findings);
    report["begin"] = urgent == nullptr ? Json::Value() : Json::Value(ToUtf8(urgent->Id()));
    report["checks"] = Json::Value(Json::arrayValue);
    for (const Finding& finding : findings) {
        Json::Value check;
        check["id"] = ToUtf8(finding.Id());
        check["name"] = ToUtf8(finding.Name());
        check["verdict"] = ToUtf8(VerdictText(finding.GetVerdict()));
        check["fact"] = ToUtf8(finding.Fact());
        check["fix"] = ToUtf8(finding.Fix());
        check["commands"] = Json::Value(Json::arrayValue);
        for (const std::wstring& command : finding.Commands()) {
            check["commands"].append(ToUtf8(command));
        }
        check["fixable"] = !finding.Repairs().empty();
        report["checks"].append(std::move(check));
    }
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "  ";
    builder["emitUTF8"] = true;
    return Json::writeString(builder, report) + "\n";
}

} // namespace doctor
