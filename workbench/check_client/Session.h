#pragma once

#include "workbench/check_client/Checker.h"

#include "workbench/process/ChildProcess.h"
#include "workbench/verify/core/Session.h"
#include "workbench/wire/Envelope.h"

#include <json/value.h>

#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace check_client {

/// Thrown by a check whose rule the client breaks, or cannot be tested here. Its text is the remark.
struct NotPassed : std::runtime_error {
    NotPassed(Verdict given, const std::string& why) : std::runtime_error(why), verdict(given) {}
    Verdict verdict;
};

/// Outlook with the add-in, the client, and the messages between them. Main thread.
class Session {
public:
    explicit Session(const Settings& settings);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    const Settings& settings;
    workbench::OutlookHost& Outlook() const { return outlook_.Host(); }

    // --- The client ---
    HWND Window() const noexcept;
    /// Windows of the client's class, whatever their titles.
    static std::vector<HWND> WindowsOfClass();
    void StartClient();
    void EndClient();
    /// @return false when it is known that no client has started.
    bool AwaitLogInForm() const;
    void LogIn();
    /// Starts the client and logs in, unless it runs. @return whether its window is there.
    bool EnsureClient();
    /// @return false when no person takes part.
    bool AskPerson(const std::string& what) const;

    // --- The add-in ---
    void RemoveAddInWindow();
    void ReturnAddInWindow();
    /// @return false when there is no such button.
    bool PressStart();

    // --- Messages to the client, as the add-in would send them ---
    void Send(std::string_view message);
    /// @return whether the client took it.
    bool SendEnvelope(std::uint64_t number, const char* bytes, std::size_t size);
    bool SendEnvelope(const wire::Envelope& envelope) {
        return SendEnvelope(envelope.number, envelope.text.c_str(), envelope.text.size() + 1);
    }
    std::uint32_t NextNumber() { return ++number_; }

    // --- Messages from the client ---
    /// The next notification of these types after those taken already; null when none comes.
    Json::Value Next(const char* what, const std::set<int>& types, std::chrono::milliseconds limit);
    /// The next answer to a command of the add-in.
    Json::Value NextAnswer() { return NextAnswer(settings.limit); }
    /// The next answer to what was sent here.
    Json::Value AnswerToSent();
    Json::Value Ask(std::string_view message);
    /// Waits until the client has sent the answers that it will send now, and forgets them.
    void LetAnswersPass();
    void ForgetAnswers();

    /// Handles messages until `done`, the limit, or the end of the client.
    bool Await(const char* what, const std::function<bool()>& done) { return Await(what, done, settings.limit); }

    // --- Observations of all checks ---
    std::vector<Json::Value> notifications;
    std::size_t segmented = 0;       ///< notifications that came in segments
    std::vector<std::string> faults; ///< of the client on the wire, in words
    bool named = true;               ///< the client's window has the right name, as far as is known
    std::optional<std::size_t> windowsAfterSecondLaunch;

private:
    Json::Value NextAnswer(std::chrono::milliseconds limit) { return Next("an answer", {101, 102, 103}, limit); }
    bool Await(const char* what, const std::function<bool()>& done, std::chrono::milliseconds limit);
    void ListenAtAddIn();
    void Read();
    void ReadMessage(std::uint64_t number, const std::string& message);

    verify::Session outlook_;
    std::optional<process::ChildProcess> child_;
    UniqueHandle client_; // the process of the window
    wire::Joiner joiner_;
    std::uint64_t lastNumber_ = 0;   // of a message in segments
    std::size_t next_ = 0;           // of the notifications
    std::uint32_t number_ = 0x10000; // far from the add-in's own numbers
};

/// The type of a notification, also of one that is given as a text; 0 without one.
int NumberOf(const Json::Value& value);

struct Rule {
    const char* id;
    const char* sentence;                ///< of the page; a table row of the page is a sentence too, or its beginning
    bool needsClient;                    ///< one that runs; it is started anew after a failure
    std::function<void(Session&)> check; ///< @throws NotPassed
};

/// In the order in which they are checked.
const std::vector<Rule>& Rules();

} // namespace check_client
