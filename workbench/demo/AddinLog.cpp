#include "workbench/demo/AddinLog.h"

#include "workbench/host/Pump.h"

#include "support/Text.h"

#include <algorithm>

namespace demo {
namespace {

constexpr unsigned kLimit = 5000; // ms

} // namespace

const std::vector<std::wstring>& AddinLog::Lines() {
    for (const std::string& line : tail_.Read()) {
        std::size_t begin = std::string::npos;
        for (const char* tag : {"[Err]", "[War]", "[Inf]"}) {
            begin = std::min(begin, line.find(tag));
        }
        lines_.push_back(ToWide(begin == std::string::npos ? line : line.substr(begin)));
    }
    return lines_;
}

void AddinLog::Tell(Story& story, const std::wstring& text) {
    std::size_t found = told_;
    const auto look = [&] {
        const std::vector<std::wstring>& lines = Lines();
        while (found < lines.size() && lines[found].find(text) == std::wstring::npos) {
            ++found;
        }
        return found < lines.size();
    };
    if (!workbench::PumpUntil(look, kLimit)) {
        throw StepFailed("the add-in's log got no line with \"" + ToUtf8(text) + "\" within " +
                         ToUtf8(SecondsText(kLimit)));
    }
    story.Data(L"log", lines_[found]);
    told_ = found + 1;
}

std::map<std::wstring, std::size_t> AddinLog::Complaints() {
    std::map<std::wstring, std::size_t> counts;
    for (const std::wstring& line : Lines()) {
        if (line.starts_with(L"[Err]") || line.starts_with(L"[War]")) {
            ++counts[line];
        }
    }
    return counts;
}

} // namespace demo
