#pragma once

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>

namespace fieldtest {

/// The person, or the system, wants the test to end now.
class Stopped : public std::runtime_error {
public:
    Stopped() : std::runtime_error("stopped") {}
};

enum class Waited { Held, Skipped, TimedOut };

/// Dialogue with the person. One thread, which handles its messages during each wait.
class Console {
public:
    Console();

    void Say(const std::string& text) const;
    /// Waits until the condition holds. Enter skips the wait, "q" and Enter stops the test. Shows that it waits.
    /// @throws Stopped.
    /// @param line gets what the person entered, where it is not null.
    Waited Await(const std::function<bool()>& holds, unsigned seconds, std::string* line = nullptr);
    /// @return the next line that the person enters; empty when none comes in time. @throws Stopped.
    std::string Ask(unsigned seconds);

    /// Makes the current or next wait throw `Stopped`. Any thread.
    static void RequestStop() noexcept;

private:
    struct Input;
    std::shared_ptr<Input> input_;
};

} // namespace fieldtest
