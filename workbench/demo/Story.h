#pragma once

#include <windows.h>

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <stdexcept>
#include <stop_token>
#include <string>
#include <string_view>
#include <thread>

namespace demo {

/// A step that did not happen in time, or not as it should. The message names it.
class StepFailed : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Tells what happens, a line a step, and sees to it that each step happens in time. Everything goes to the standard
/// output at once, as UTF-8. The stand-in Outlook's thread; `Await` handles its messages.
class Story {
public:
    static constexpr unsigned kUsualLimit = 10'000; // ms

    Story(bool colour, unsigned pace);
    Story(const Story&) = delete;
    Story& operator=(const Story&) = delete;

    void Scenario(std::wstring_view heading);
    /// Prints an action of the demo or its user. The action has `limit` milliseconds until the next step.
    void Act(std::wstring_view text, unsigned limit = kUsualLimit);
    /// Waits until it has happened, then prints it.
    /// @throws StepFailed with the step and its deadline when it does not happen in time.
    void Await(std::wstring_view text, const std::function<bool()>& happened, unsigned limit = kUsualLimit);
    /// Something that must hold already. @throws StepFailed.
    void Check(std::wstring_view text, bool holds);

    /// A value below the step, its caption at the left. A text of several lines stands below its caption.
    void Data(std::wstring_view caption, std::wstring_view text);
    void Plain(std::wstring_view text);
    /// The last words of a demo that failed.
    void Failure(std::wstring_view text);

    std::size_t Steps() const { return steps_; }

private:
    void Number(std::wstring_view text, const std::wstring& remark);
    void Begin(std::wstring_view text, unsigned limit);
    void Write(std::wstring_view text);
    std::wstring Paint(const wchar_t* code, std::wstring_view text) const;
    void Watch(const std::stop_token& end);

    const bool colour_;
    const unsigned pace_;
    std::size_t steps_ = 0;
    std::size_t inScenario_ = 0;

    // For a step that blocks this thread, such as one that opened a dialog nobody answers.
    std::mutex lock_;
    std::condition_variable_any wake_;
    std::wstring current_;
    unsigned limit_ = 0;
    std::atomic<ULONGLONG> deadline_ = 0; // 0: nothing to watch
    std::jthread watchdog_;
};

/// Seconds with one decimal: "10.0 s".
std::wstring SecondsText(unsigned milliseconds);

/// A text of several lines as one, runs of blanks made one.
std::wstring OneLine(const std::wstring& text);

} // namespace demo
