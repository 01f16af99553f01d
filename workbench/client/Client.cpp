#include "workbench/client/Client.h"

#include "workbench/client/Control.h"
#include "workbench/client/Script.h"

#include <algorithm>
#include <stdexcept>

namespace meeting_client {

Client::Client(const Options& options, Transcript& transcript)
    : options_(options),
      transcript_(transcript),
      link_(transcript,
            {[this](std::uint64_t count) { FireTriggers("copydata", count); },
             [this](std::uint64_t count, const std::string& message) {
                 OnMessage(message);
                 FireTriggers("message", count);
             }},
            options.topLevel, options.firstNumber),
      answerDelay_(options.answerDelay),
      ignoring_(options.ignoreCommands) {
    if (options.panel) {
        panel_ = std::make_unique<Panel>();
    }
}

int Client::Run() {
    UniqueWindow mainWindow = MakeMainWindow();
    const Control control(mainWindow.Get(), transcript_);
    Script script(*this, options_.script);
    Begin();
    script.Start();
    Loop();
    link_.Hide();
    mainWindow.Reset(); // before the control window's thread is waited for: it may be sending an order here
    transcript_.Note("ends with code " + std::to_string(exitCode_));
    return exitCode_;
}

UniqueWindow Client::MakeMainWindow() {
    constexpr wchar_t kName[] = L"NbmWorkbenchClientMain";
    WNDCLASSEXW windowClass{};
    windowClass.cbSize = sizeof windowClass;
    windowClass.lpfnWndProc = &Client::MainProc;
    windowClass.hInstance = ::GetModuleHandleW(nullptr);
    windowClass.lpszClassName = kName;
    ::RegisterClassExW(&windowClass);
    UniqueWindow window(
        ::CreateWindowExW(0, kName, kName, 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, windowClass.hInstance, this));
    if (!window) {
        throw std::runtime_error("cannot make the main window");
    }
    return window;
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
    if (options_.hidden) {
        return;
    }
    if (options_.launchUri.empty()) {
        if (!link_.Show()) {
            throw std::runtime_error("cannot make the channel window");
        }
    } else if (options_.loginAfter) {
        agenda_.After(*options_.loginAfter, [this] { Execute("login"); });
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
    agenda_.After(options_.longest, [this] { End(kTimeRanOut); });
    while (!ended_) {
        const auto wait = agenda_.UntilNext().value_or(std::chrono::milliseconds(1000));
        const DWORD woke = ::MsgWaitForMultipleObjectsEx(parent ? 1 : 0, &handle, static_cast<DWORD>(wait.count()),
                                                         QS_ALLINPUT, MWMO_INPUTAVAILABLE);
        if (parent && woke == WAIT_OBJECT_0) {
            transcript_.Note("the parent process ended");
            return;
        }
        MSG message;
        while (!ended_ && ::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
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
        return;
    }
    for (const std::string& fault : CommandFaults(*command)) {
        transcript_.Fault(fault);
    }
    const std::string answer = AnswerTo(*command);
    ShowPanel(&*command);
    if (!answer.empty()) {
        agenda_.After(answerDelay_, [this, answer] { link_.Send(answer); });
    }
}

std::string Client::AnswerTo(const Json::Value& command) {
    const int number = command["cmd"].isInt() ? command["cmd"].asInt() : -1;
    const auto found = rules_.find(number);
    const AnswerRule rule = found == rules_.end() ? AnswerRule{} : found->second;
    if (ignoring_ || rule.mode == AnswerRule::Mode::None) {
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
    return answer ? Compact(*answer) : std::string();
}

void Client::FireTriggers(const char* kind, std::uint64_t count) {
    for (const Trigger& trigger : triggers_) {
        if (trigger.kind != kind || trigger.count != count) {
            continue;
        }
        const std::string order = trigger.order;
        if (order == "die") {
            transcript_.Note("dies");
            DieNow();
        }
        if (order.starts_with("hang ")) { // here, so that the sender waits as long
            transcript_.Note("hangs while a message is being delivered");
            ::Sleep(static_cast<DWORD>(ParseNumber(std::string_view(order).substr(5), 3'600'000).value_or(0)));
            continue;
        }
        agenda_.After(std::chrono::milliseconds(0), [this, order] { Execute(order); });
    }
}

void Client::ShowPanel(const Json::Value* command) {
    if (!panel_) {
        return;
    }
    std::vector<std::string> lines;
    for (const auto& [confId, meeting] : meetings_.All()) {
        lines.push_back(confId + "   " + meeting.subject);
    }
    panel_->SetMeetings(std::move(lines));
    if (command) {
        panel_->AddCommand(*command);
    }
}

LRESULT CALLBACK Client::MainProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) noexcept {
    if (message == WM_NCCREATE) {
        const auto* create = reinterpret_cast<const CREATESTRUCTW*>(lParam);
        ::SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(create->lpCreateParams));
    }
    auto* client = reinterpret_cast<Client*>(::GetWindowLongPtrW(window, GWLP_USERDATA));
    if (message == kCarryOut && client) {
        try {
            const std::string order = *reinterpret_cast<const std::string*>(lParam);
            return client->Execute(order) == "ok" ? kOrderDone : kOrderRefused;
        } catch (...) {
            return kOrderRefused;
        }
    }
    return ::DefWindowProcW(window, message, wParam, lParam);
}

} // namespace meeting_client
