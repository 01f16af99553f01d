#include "workbench/demo/Story.h"

#include "workbench/host/Pump.h"

#include "support/Text.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <sstream>

namespace demo {
namespace {

constexpr const wchar_t* kHeading = L"\x1b[1;36m";
constexpr const wchar_t* kDone = L"\x1b[32m";
constexpr const wchar_t* kFaint = L"\x1b[2m";
constexpr const wchar_t* kBad = L"\x1b[1;31m";
constexpr const wchar_t* kPlain = L"\x1b[0m";
constexpr std::size_t kCaptionWidth = 14;
constexpr std::chrono::milliseconds kWatch(250);
constexpr unsigned kGrace = 3000; // ms by which the watchdog lets the step report its own deadline first

} // namespace

std::wstring SecondsText(unsigned milliseconds) {
    return std::to_wstring(milliseconds / 1000) + L"." + std::to_wstring(milliseconds / 100 % 10) + L" s";
}

std::wstring OneLine(const std::wstring& text) {
    std::wistringstream words(text);
    std::wstring line;
    for (std::wstring word; words >> word;) {
        line += (line.empty() ? L"" : L" ") + word;
    }
    return line;
}

Story::Story(bool colour, unsigned pace)
    : colour_(colour), pace_(pace), watchdog_([this](const std::stop_token& end) { Watch(end); }) {}

void Story::Watch(const std::stop_token& end) {
    std::unique_lock hold(lock_);
    while (!wake_.wait_for(hold, end, kWatch, [&] { return end.stop_requested(); })) {
        const ULONGLONG deadline = deadline_;
        if (deadline != 0 && ::GetTickCount64() > deadline + kGrace) {
            // The thread that tells the story is stuck, so this one has the last word.
            Failure(L"\"" + current_ + L"\" did not happen within " + SecondsText(limit_) + L"; Outlook hangs");
            ::TerminateProcess(::GetCurrentProcess(), 1);
        }
    }
}

void Story::Begin(std::wstring_view text, unsigned limit) {
    if (pace_ != 0 && steps_ != 0) {
        deadline_ = 0;
        workbench::PumpFor(pace_);
    }
    const std::scoped_lock hold(lock_);
    current_ = text;
    limit_ = limit;
    deadline_ = ::GetTickCount64() + limit;
}

void Story::Scenario(std::wstring_view heading) {
    inScenario_ = 0;
    Write(L"\n" + Paint(kHeading, heading) + L"\n");
}

void Story::Act(std::wstring_view text, unsigned limit) {
    Begin(text, limit);
    Number(text, {});
}

void Story::Await(std::wstring_view text, const std::function<bool()>& happened, unsigned limit) {
    Begin(text, limit);
    const ULONGLONG start = ::GetTickCount64();
    if (!workbench::PumpUntil(happened, limit)) {
        throw StepFailed("\"" + ToUtf8(text) + "\" did not happen within " + ToUtf8(SecondsText(limit)));
    }
    Number(text, std::to_wstring(::GetTickCount64() - start) + L" ms");
}

void Story::Check(std::wstring_view text, bool holds) {
    Begin(text, kUsualLimit);
    if (!holds) {
        throw StepFailed("\"" + ToUtf8(text) + "\" does not hold");
    }
    Number(text, {});
}

void Story::Number(std::wstring_view text, const std::wstring& remark) {
    ++steps_;
    const std::wstring number = std::to_wstring(++inScenario_);
    std::wstring line = std::wstring(number.size() < 2 ? 2 : 1, L' ') + Paint(kDone, number + L".") + L" ";
    line += text;
    if (!remark.empty()) {
        line += L" " + Paint(kFaint, L"(" + remark + L")");
    }
    Write(line + L"\n");
}

void Story::Data(std::wstring_view caption, std::wstring_view text) {
    const std::wstring indent(7, L' ');
    std::wstring out = indent + Paint(kFaint, caption);
    text = text.substr(0, text.find_last_not_of(L"\r\n") + 1);
    if (text.find(L'\n') == std::wstring_view::npos) {
        const std::size_t blanks = std::max(kCaptionWidth, caption.size() + 1) - caption.size();
        Write(out + std::wstring(text.empty() ? 0 : blanks, L' ').append(text) + L"\n");
        return;
    }
    std::wistringstream lines{std::wstring(text)};
    for (std::wstring line; std::getline(lines, line);) {
        std::erase(line, L'\r');
        for (std::size_t tab; (tab = line.find(L'\t')) != std::wstring::npos;) {
            line.replace(tab, 1, L"  ");
        }
        out += L"\n" + indent + L"  " + line;
    }
    Write(out + L"\n");
}

void Story::Plain(std::wstring_view text) {
    Write(L"       " + Paint(kFaint, text) + L"\n");
}

void Story::Failure(std::wstring_view text) {
    Write(L"\n" + Paint(kBad, L"FAILED: " + std::wstring(text)) + L"\n");
}

std::wstring Story::Paint(const wchar_t* code, std::wstring_view text) const {
    return colour_ ? code + std::wstring(text) + kPlain : std::wstring(text);
}

void Story::Write(std::wstring_view text) {
    const std::string bytes = ToUtf8(text);
    std::fwrite(bytes.data(), 1, bytes.size(), stdout);
    std::fflush(stdout);
}

} // namespace demo
