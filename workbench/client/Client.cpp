#include "workbench/client/Client.h"

#include "workbench/client/Control.h"
#include "workbench/client/Faults.h"

#include <stdexcept>

namespace meeting_client {
namespace {

std::string OrderIn(const COPYDATASTRUCT& data) {
    const std::string_view text(static_cast<const char*>(data.lpData), data.lpData ? data.cbData : 0);
    return std::string(text.substr(0, text.find('\0')));
}

} // namespace

Client::Client(const Options& options, Transcript& transcript)
    : options_(options),
      transcript_(transcript),
      link_(
          transcript, [this](const std::string& message) { OnMessage(message); }, options.firstNumber) {
    if (options.panel) {
        panel_ = std::make_unique<Panel>(meetings_, [this](const std::string& order) { return Execute(order); });
    }
}

int Client::Run() {
    const wire::Window orders(kControlWindow, [this](HWND, const COPYDATASTRUCT& data) {
        return Execute(OrderIn(data)) == "ok" ? kOrderDone : kOrderRefused;
    });
    Begin();
    Loop();
    link_.Hide();
    transcript_.Note("ends with code " + std::to_string(exitCode_));
    return exitCode_;
}

void Client::Begin() {
    transcript_.Note("started, process " + std::to_string(::GetCurrentProcessId()) +
                     (options_.launchUri.empty() ? "" : ", launched by " + options_.launchUri));
    for (const std::string& order : options_.orders) {
        if (Execute(order) != "ok") {
            throw std::runtime_error("order refused: " + order);
        }
    }
    ShowPanel(nullptr);
    if (options_.hidden && !Makes("early-window")) {
        return;
    }
    if (options_.launchUri.empty()) {
        if (!link_.Show()) {
            throw std::runtime_error("cannot make the channel window");
        }
    } else {
        agenda_.After(std::chrono::milliseconds(options_.loginAfter), [this] { Execute("show"); });
    }
}

void Client::Loop() {
    // A parent that is already gone ends the client at once.
    const UniqueHandle parent(options_.parent ? ::OpenProcess(SYNCHRONIZE, FALSE, options_.parent) : nullptr);
    if (options_.parent && !parent) {
        transcript_.Note("the parent process is not there");
        return;
    }
    const HANDLE handle = parent.Get();
    agenda_.After(std::chrono::seconds(options_.longest), [this] { End(kTimeRanOut); });
    while (!ended_) {
        const auto wait = agenda_.UntilNext();
        const DWORD woke = ::MsgWaitForMultipleObjectsEx(parent ? 1 : 0, &handle, static_cast<DWORD>(wait.count()),
                                                         QS_ALLINPUT, MWMO_INPUTAVAILABLE);
        if (parent && woke == WAIT_OBJECT_0) {
            transcript_.Note("the parent process ended");
            return;
        }
        MSG message;
        while (!ended_ && ::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
            if (panel_ && panel_->TakesKey(message)) {
                continue;
            }
            ::TranslateMessage(&message);
            ::DispatchMessageW(&message);
        }
        if (!ended_) {
            agenda_.RunDue();
        }
    }
}

void Client::End(int exitCode) noexcept {
    ended_ = true;
    exitCode_ = exitCode;
}

// Called inside the channel's window procedure: the answer is only put on the agenda, the sender is not kept waiting.
void Client::OnMessage(const std::string& message) {
    const auto command = ParseObject(message);
    if (!command) {
        transcript_.Fault("the message is no JSON object");
        if (Makes("dies-on-garbage")) {
            Die();
        }
        return;
    }
    for (const std::string& fault : CommandFaults(*command)) {
        transcript_.Fault(fault);
    }
    if (!TakesCommand((*command)["cmd"].isInt() ? (*command)["cmd"].asInt() : -1)) {
        return;
    }
    const std::string answer = AnswerTo(*command);
    ShowPanel(&*command);
    if (!answer.empty() && !(panel_ && panel_->HoldAnswer(answer))) {
        agenda_.After(answerDelay_, [this, answer] { Send(answer); });
    }
}

std::string Client::AnswerTo(const Json::Value& command) {
    const int number = command["cmd"].isInt() ? command["cmd"].asInt() : -1;
    const auto found = rules_.find(number);
    const AnswerRule rule = found == rules_.end() ? AnswerRule{} : found->second;
    if (options_.ignoreCommands || rule.mode == AnswerRule::Mode::None) {
        transcript_.Note("command ignored");
        return {};
    }
    std::optional<Json::Value> answer = meetings_.Handle(command);
    if (rule.mode == AnswerRule::Mode::Text) {
        return rule.text;
    }
    if (rule.mode == AnswerRule::Mode::Merge) {
        const Json::Value members = ParseObject(rule.text).value();
        answer = answer.value_or(Json::Value(Json::objectValue));
        for (const std::string& key : members.getMemberNames()) {
            (*answer)[key] = members[key];
            if (members[key].isNull()) {
                answer->removeMember(key);
            }
        }
    }
    if (answer) {
        DistortAnswer(*answer);
    }
    return answer ? Compact(*answer) : std::string();
}

void Client::ShowPanel(const Json::Value* command) {
    if (!panel_) {
        return;
    }
    panel_->ShowMeetings();
    if (command) {
        panel_->ShowCommand(*command);
    }
}

std::string Client::Send(std::string_view message) {
    std::string result = link_.Send(message);
    if (panel_) {
        panel_->ShowSent(std::string(message), result);
    }
    return result;
}

} // namespace meeting_client
