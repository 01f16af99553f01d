#pragma once

#include "doctor/Finding.h"

#include <functional>
#include <string>

namespace doctor {

/// Describes the changes of a repair, one line for each.
std::wstring Describe(const std::vector<Repair>& repairs, Language language);

struct FixSteps {
    std::function<void(const std::wstring&)> tell;
    std::function<bool(const std::wstring& question)> confirm;
    std::function<long(const Repair&)> apply; ///< gives an error of Windows
};

/// Offers the repairs of a finding and makes them when they are confirmed. A finding without repairs shows what an
/// administrator can do. A repair below a key of policies is refused.
/// @return whether everything was changed.
bool Fix(const Finding& finding, bool outlookRuns, Language language, const FixSteps& steps);

} // namespace doctor
