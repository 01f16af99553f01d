#include "doctor/Fix.h"

#include "doctor/Scene.h"
#include "doctor/Texts.h"

#include <algorithm>

namespace doctor {
namespace {

bool IsPolicy(const Repair& repair) {
    return Contains(repair.key, L"\\Policies\\") || Contains(repair.key, L"\\Resiliency\\AddinList");
}

void TellOthersWork(const Finding& finding, Language language, const FixSteps& steps) {
    steps.tell(Fill(texts::kNothingToFix[language], {finding.Id()}));
    if (!finding.Fix().empty()) {
        steps.tell(finding.Fix());
    }
    for (const std::wstring& command : finding.Commands()) {
        steps.tell(L"  " + command);
    }
}

} // namespace

std::wstring Describe(const std::vector<Repair>& repairs, Language language) {
    std::wstring lines;
    for (const Repair& repair : repairs) {
        const Text& text = repair.kind == Repair::Kind::DeleteKey     ? texts::kWillDeleteKey
                           : repair.kind == Repair::Kind::DeleteValue ? texts::kWillDeleteValue
                                                                      : texts::kWillSet;
        lines += (lines.empty() ? L"" : L"\n") +
                 Fill(text[language], {repair.key, repair.name, std::to_wstring(repair.number)});
    }
    return lines;
}

bool Fix(const Finding& finding, bool outlookRuns, Language language, const FixSteps& steps) {
    const std::vector<Repair>& repairs = finding.Repairs();
    if (repairs.empty() || std::any_of(repairs.begin(), repairs.end(), IsPolicy)) {
        TellOthersWork(finding, language, steps);
        return false;
    }
    steps.tell(Describe(repairs, language));
    if (outlookRuns) {
        steps.tell(texts::kCloseFirst[language]);
    }
    if (!steps.confirm(texts::kQuestion[language])) {
        steps.tell(texts::kNotDone[language]);
        return false;
    }
    for (const Repair& repair : repairs) {
        if (const long error = steps.apply(repair); error != 0) {
            steps.tell(Fill(texts::kFixFailed[language], {std::to_wstring(error)}));
            return false;
        }
    }
    steps.tell(texts::kFixed[language]);
    return true;
}

} // namespace doctor
