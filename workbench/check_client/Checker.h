#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

/// Checks a meeting client against docs/protocol.md: the real add-in runs in the stand-in Outlook, and the client runs
/// beside it.
namespace check_client {

struct Settings {
    std::wstring program; ///< the client; empty: the tester starts and ends it
    std::vector<std::wstring> arguments;
    /// Does what the user of the client does to log in. Empty: a person is asked for this and all other actions.
    std::function<void()> logIn;
    /// Returns when a client that was just started would show a window too early if it had that mistake. Empty: the
    /// checker waits for `quiet`. @return false when no client has started.
    std::function<bool()> awaitLogInForm;
    /// Returns when the client has sent its answers to all that it has received. Empty: the checker waits for them.
    std::function<void()> settle;
    /// Changes the meeting in the client, as its user does.
    std::function<void(const std::string& confId)> change;
    std::chrono::milliseconds limit{60'000}; ///< for an answer, a start, or a person
    std::chrono::milliseconds quiet{15'000};
    std::shared_ptr<void> registration; ///< of the launch URI, when the checker has made it; the last owner ends it
    /// Shows one line at once: a result, a request to the person, or what is being waited for.
    std::function<void(const std::string& line)> tell = [](const std::string&) {};
};

/// The settings for the stand-in client, to try the checker. While they exist the launch URI starts that client, so
/// there can be one of them at a time. @param arguments for the client besides those that it needs here.
/// @throws std::runtime_error.
Settings ForStandIn(std::vector<std::wstring> arguments, std::chrono::milliseconds limit);

enum class Verdict { Pass, Fail, NotTested };

struct Finding {
    std::string rule;
    std::string sentence; ///< of the page
    Verdict verdict = Verdict::NotTested;
    std::string remark; ///< why not passed
};

/// Checks all rules. COM must be initialised, single-threaded, on the calling thread, which plays Outlook's main
/// thread.
/// @throws std::runtime_error when nothing can be checked, such as while another client runs.
std::vector<Finding> CheckClient(const Settings& settings);

std::string ToJson(const std::vector<Finding>& findings);

} // namespace check_client
