#pragma once

#include "workbench/client/Agenda.h"
#include "workbench/client/Link.h"
#include "workbench/client/Meetings.h"
#include "workbench/client/Options.h"
#include "workbench/client/Panel.h"
#include "workbench/client/Transcript.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>

namespace meeting_client {

/// The client: what it answers, and the orders that change that. One thread, the one that runs `Run`.
class Client {
public:
    Client(const Options& options, Transcript& transcript);

    /// Runs until it is told to end. @return the exit code.
    int Run();

private:
    struct AnswerRule {
        enum class Mode { Live, None, Text, Merge } mode = Mode::Live;
        std::string text;
    };
    using Arguments = std::string_view;
    using Handler = std::string (*)(Client& client, Arguments arguments);

    void Begin();
    void Loop();
    void End(int exitCode) noexcept;

    void OnMessage(const std::string& message);
    std::string AnswerTo(const Json::Value& command);
    void ShowPanel(const Json::Value* command);
    /// Sends a message and shows it. @return "ok" or why not.
    std::string Send(std::string_view message);
    void BulkStep(std::uint64_t index, std::uint64_t count, std::size_t size, std::chrono::milliseconds apart);

    // Orders (Orders.cpp). Each gives "ok" or why not.
    /// Carries an order out and records it.
    std::string Execute(const std::string& order);
    static const std::map<std::string_view, Handler>& Handlers();
    std::string Bulk(Arguments arguments);
    std::string Change(Arguments arguments);
    std::string Raw(Arguments arguments);
    std::string Torn(Arguments arguments);
    std::string SetAnswer(Arguments arguments);
    std::string Hang(Arguments arguments);
    std::string Die();

    const Options& options_;
    Transcript& transcript_;
    Agenda agenda_;
    Link link_;
    MeetingBook meetings_;
    std::map<int, AnswerRule> rules_;
    std::chrono::milliseconds answerDelay_{0};
    std::unique_ptr<Panel> panel_;
    bool ended_ = false;
    int exitCode_ = kEnded;
};

} // namespace meeting_client
