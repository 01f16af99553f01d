#include "workbench/verify/endings/Endings.h"
#include "workbench/verify/endings/ExitPlan.h"
#include "workbench/verify/endings/Lines.h"
#include "workbench/verify/scenes/Actions.h"

#include "workbench/host/Pump.h"

#include "support/Text.h"

#include <thread>

namespace verify {
namespace {

constexpr DWORD kGoLimit = 60'000;      // ms
constexpr DWORD kTrafficLimit = 60'000; // ms; the end from outside comes long before
constexpr unsigned kLoggingThreads = 2;
constexpr std::size_t kMostInspectors = 4;

/// Outlook with the add-in. Never destroyed: most endings leave no time for it, and the others must not depend on it.
class Victim {
public:
    explicit Victim(const ExitPlan& plan) : plan_(plan) {}

    void Connect();
    void AwaitGo(const std::string& connected, const std::string& go);
    int Play();

private:
    [[noreturn]] void Exit() const { ::ExitProcess(plan_.code); }
    void WatchCalls(const workbench::Step& step);
    void StartLogging() const;
    void ActFor(DWORD milliseconds);

    ExitPlan plan_;
    Session session_;
    Player player_{session_};
    unsigned calls_ = 0;
    bool going_ = false;
};

void Victim::Connect() {
    session_.observer = [this](const workbench::Step& step) { WatchCalls(step); };
    session_.whileDialogIsOpen = [this] {
        if (going_ && plan_.ending == Ending::ExitInDialog) {
            Exit();
        }
    };
    constexpr int kCloseBox = 2, kLater = 5;
    session_.AnswerDialogs([close = true]() mutable {
        close = !close;
        return close ? kLater : kCloseBox;
    });
    workbench::HostOptions options;
    options.language = plan_.random() % 2 == 0 ? 1033 : 2052;
    session_.Connect(options);
}

void Victim::WatchCalls(const workbench::Step& step) {
    calls_ += step.kind == workbench::StepKind::Call ? 1 : 0;
    if (step.kind == workbench::StepKind::Call && plan_.ending == Ending::ExitInCall && calls_ == plan_.delay) {
        Exit();
    }
}

/// One command has to get through before the end, and the driver waits for it.
void Victim::AwaitGo(const std::string& connected, const std::string& go) {
    const UniqueHandle connectedEvent = SharedEvent(ToWide(connected));
    const UniqueHandle goEvent = SharedEvent(ToWide(go));
    if (plan_.client) {
        player_.Press(workbench::Surface::Explorer, L"StartVideoMeetingCalendar");
    }
    ::SetEvent(connectedEvent.Get());
    workbench::PumpUntil([&] { return ::WaitForSingleObject(goEvent.Get(), 0) == WAIT_OBJECT_0; }, kGoLimit);
    going_ = true;
}

/// Half of it are presses, as they send and ask; the rest is anything that happens in Outlook.
void Victim::ActFor(DWORD milliseconds) {
    const ULONGLONG end = ::GetTickCount64() + milliseconds;
    while (::GetTickCount64() < end) {
        const Draw draw{plan_.random(), plan_.random(), plan_.random(), plan_.random()};
        if (draw.kind % 2 == 0) {
            constexpr const wchar_t* kButtons[] = {L"StartVideoMeetingCalendar", L"StartAudioMeetingMail",
                                                   L"BookMeetingMail"};
            player_.Press(workbench::Surface::Explorer, kButtons[draw.a % std::size(kButtons)]);
        } else {
            std::uint64_t choice = draw.kind / 2 % Weight(HostActions());
            Choose(HostActions(), choice)->play(player_, draw);
        }
        session_.CloseInspectors(kMostInspectors);
        workbench::PumpFor(static_cast<unsigned>(plan_.random() % 12));
    }
}

void Victim::StartLogging() const {
    IDispatch* object = nullptr; // kept
    session_.AddIn().Object()->QueryInterface(IID_IDispatch, reinterpret_cast<void**>(&object));
    for (unsigned i = 0; i < kLoggingThreads; ++i) {
        std::thread([object, mark = std::string(1, static_cast<char>('A' + i))] {
            for (std::uint64_t number = 0;; ++number) {
                Module::Log(object, NumberedText(mark, number));
            }
        }).detach();
    }
}

int Victim::Play() {
    if (plan_.Logging()) {
        StartLogging();
    }
    if (plan_.ending == Ending::ExitFromThread) {
        std::thread([this] {
            ::Sleep(plan_.delay);
            Exit();
        }).detach();
    }
    const bool endsElsewhere = plan_.FromOutside() || plan_.ending == Ending::ExitFromThread ||
                               plan_.ending == Ending::ExitInCall || plan_.ending == Ending::ExitInDialog;
    ActFor(endsElsewhere ? kTrafficLimit : plan_.delay);
    if (endsElsewhere) {
        Say("the moment of the end does not come");
        return kViolations;
    }
    if (plan_.ending == Ending::ReturnAfterDisconnect || plan_.ending == Ending::ExitAfterDisconnect) {
        if (const std::vector<std::string> left = session_.End(); !left.empty()) {
            Say("{}", left.front());
            return kViolations;
        }
    }
    if (plan_.ending != Ending::ReturnFromMain && plan_.ending != Ending::ReturnAfterDisconnect) {
        Exit();
    }
    return static_cast<int>(plan_.code);
}

} // namespace

int PlayExit(const std::vector<std::string>& words) {
    auto* victim = new Victim(ExitPlan(std::stoull(words.at(0)), std::stoull(words.at(1))));
    victim->Connect();
    victim->AwaitGo(words.at(2), words.at(3));
    return victim->Play();
}

} // namespace verify
