#pragma once

#include "workbench/process/InputLines.h"

#include <functional>
#include <stdexcept>
#include <string>

namespace fieldtest {

/// The person, or the system, wants the test to end now.
class Stopped : public std::runtime_error {
public:
    Stopped() : std::runtime_error("stopped") {}
};

enum class Waited { Held, Entered, TimedOut };

/// Dialogue with the person. One thread, which handles its messages during each wait.
class Console {
public:
    void Say(const std::string& text) const;
    /// Waits until the condition holds or the person has entered a line. "q" stops the test. Shows that it waits.
    /// @throws Stopped.
    Waited Await(const std::function<bool()>& holds, unsigned seconds);

    std::string entered; ///< the last line of the person

    /// Makes the current or next wait throw `Stopped`. Any thread.
    static void RequestStop() noexcept;

private:
    process::InputLines input_;
};

} // namespace fieldtest
