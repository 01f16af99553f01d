#include "doctor/Finding.h"

#include <algorithm>
#include <utility>

namespace doctor {

std::wstring Fill(std::wstring_view text, std::initializer_list<std::wstring_view> arguments) {
    std::wstring filled;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const std::size_t index = at + 2 < text.size() ? static_cast<std::size_t>(text[at + 1] - L'0') : 10;
        if (text[at] == L'{' && index < arguments.size() && text[at + 2] == L'}') {
            filled += arguments.begin()[index];
            at += 2;
        } else {
            filled += text[at];
        }
    }
    return filled;
}

Finding& Finding::Add(Verdict verdict, const Text& fact, Arguments arguments) {
    last_ = std::min(verdict, ceiling_);
    verdict_ = std::max(verdict_, last_);
    facts_.push_back(Fill(fact[language_], arguments));
    return *this;
}

Finding& Finding::Advise(const Text& fix, Arguments arguments) {
    if (last_ != Verdict::Ok && (fix_.empty() || last_ > advised_)) {
        fix_ = Fill(fix[language_], arguments);
        advised_ = last_;
    }
    return *this;
}

std::wstring Finding::Fact() const {
    std::wstring joined;
    for (const std::wstring& fact : facts_) {
        joined += (joined.empty() ? L"" : L" ") + fact;
    }
    return joined;
}

} // namespace doctor
