#pragma once

#include "workbench/check_client/Checker.h"
#include "workbench/check_client/Tap.h"

#include "workbench/host/DialogResponder.h"
#include "workbench/host/OutlookHost.h"
#include "workbench/process/ChildProcess.h"
#include "workbench/wire/Envelope.h"

#include <json/value.h>

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace check_client {

/// Thrown by a check whose rule cannot be tested here.
class NotTested : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Outlook with the add-in, the client, and the messages between them. Main thread.
class Session {
public:
    explicit Session(const Settings& settings);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    const Settings& settings;
    workbench::OutlookHost outlook;

    // --- The client ---
    HWND Window() const noexcept;
    /// Windows of the client's class, whatever their titles.
    static std::vector<HWND> WindowsOfClass();
    void StartClient();
    void EndClient();
    /// @return false when it is known that no client has started.
    bool AwaitLogInForm() const;
    void LogIn();
    /// Starts the client and logs in, unless it runs and is in order. @return whether its window is there.
    bool EnsureClient();
    /// The next EnsureClient starts it anew, so that one mistake does not become several.
    void DistrustClient() { trusted_ = false; }
    /// @return false when no person takes part.
    bool AskPerson(const std::string& what) const;

    // --- The add-in ---
    void RemoveAddInWindow();
    void ReturnAddInWindow();
    void PressStart();

    // --- Messages to the client, as the add-in would send them ---
    /// @return whether the client took it.
    bool Send(std::string_view message);
    bool SendEnvelope(std::uint64_t number, const char* bytes, std::size_t size);
    bool SendEnvelope(const wire::Envelope& envelope);
    std::uint32_t NextNumber() { return ++number_; }

    // --- Messages from the client ---
    /// The next answer to a command (101 to 103) after those taken already; null when none comes.
    Json::Value NextAnswer();
    /// The next notification of type 200.
    Json::Value NextChange();
    void ForgetAnswers();

    /// Handles messages until `done`, the limit, or the end of the client.
    bool Await(const char* what, const std::function<bool()>& done);

    // --- What was noticed by the way ---
    std::vector<Json::Value> notifications;
    std::size_t longest = 0;   ///< bytes of the longest notification
    std::size_t segmented = 0; ///< notifications that came in segments
    /// Violations, by the id of the rule.
    std::map<std::string, std::string> violations;
    std::optional<std::size_t> windowsAfterSecondLaunch;

private:
    void LoadAddIn();
    void ListenAtAddIn();
    void Read();
    void ReadMessage(const std::string& message);
    Json::Value Next(const char* what, const std::set<int>& types);

    workbench::ExplorerPtr explorer_;
    std::unique_ptr<workbench::DialogResponder> responder_;
    Tap tap_;
    std::optional<process::ChildProcess> child_;
    UniqueHandle client_; // the process of the window
    bool trusted_ = true;
    wire::Joiner joiner_;
    std::uint64_t lastNumber_ = 0;   // of a message in segments
    std::size_t next_ = 0;           // of the notifications
    std::uint32_t number_ = 0x10000; // far from the add-in's own numbers
};

/// The type of a notification, also of one that is given as a text; 0 without one.
int NumberOf(const Json::Value& value);

} // namespace check_client
