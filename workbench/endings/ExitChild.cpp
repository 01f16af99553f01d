#include "workbench/endings/ExitChild.h"

#include "workbench/endings/ExitPlan.h"
#include "workbench/endings/Lines.h"
#include "workbench/endings/Module.h"
#include "workbench/endings/Process.h"
#include "workbench/endings/Report.h"

#include "workbench/host/DialogResponder.h"
#include "workbench/host/OutlookHost.h"
#include "workbench/host/Pump.h"

#include "resources/Connect.h"
#include "support/Text.h"
#include "tests/fakes/AddInModule.h"

#include <iterator>
#include <memory>
#include <stdexcept>
#include <thread>

namespace endings {
namespace {

constexpr DWORD kGoLimit = 60'000;      // ms
constexpr DWORD kTrafficLimit = 60'000; // ms; the end from outside comes long before
constexpr std::size_t kAnswers = 4096;  // dialogs of one process
constexpr unsigned kLoggingThreads = 2;
constexpr std::size_t kMostInspectors = 4;

/// Outlook with the add-in. Never destroyed: most endings leave no time for it, and the others must not depend on it.
class Victim {
public:
    explicit Victim(const ExitPlan& plan) : plan_(plan), random_(plan.seed) {}

    void Connect();
    void AwaitGo(const std::string& connected, const std::string& go);
    int Play();

private:
    [[noreturn]] void Exit() const { ::ExitProcess(plan_.code); }
    void WatchCalls(const workbench::Step& step);
    void WatchDialog();
    void Press();
    void Act();
    void ActFor(DWORD milliseconds);
    void StartLogging() const;
    int Disconnect();

    const ExitPlan plan_;
    std::mt19937 random_;
    workbench::OutlookHost* host_ = nullptr;
    workbench::AddInHost* addIn_ = nullptr;
    workbench::DialogResponder* responder_ = nullptr;
    unsigned calls_ = 0;
    unsigned number_ = 0;
    bool going_ = false;
};

void Victim::Connect() {
    constexpr int kCloseBox = 2, kLater = 5;
    std::vector<int> answers;
    for (std::size_t i = 0; i < kAnswers; ++i) {
        answers.push_back(i % 2 == 0 ? kCloseBox : kLater);
    }
    responder_ = new workbench::DialogResponder(std::move(answers));
    responder_->whileOpen = [this](const workbench::DialogSeen&) { WatchDialog(); };
    workbench::HostOptions options;
    options.language = random_() % 2 == 0 ? 1033 : 2052;
    host_ = new workbench::OutlookHost(options);
    host_->Observe([this](const workbench::Step& step) { WatchCalls(step); });
    host_->AddStore(L"Mailbox");
    host_->OpenExplorer(L"Calendar");
    addIn_ = &host_->LoadAddIn(AddInModulePath(), CLSID_NembraMeeting);
    if (addIn_->LoadStatus() != S_OK || addIn_->Connect() != S_OK) {
        throw std::runtime_error("the add-in does not connect");
    }
}

void Victim::WatchCalls(const workbench::Step& step) {
    const bool counts = step.kind == workbench::StepKind::Call;
    calls_ += counts ? 1 : 0;
    if (counts && plan_.ending == Ending::ExitInCall && calls_ == plan_.delay) {
        Exit();
    }
}

void Victim::WatchDialog() {
    if (going_ && plan_.ending == Ending::ExitInDialog) {
        Exit();
    }
}

/// One command has to get through before the end, and the driver waits for it.
void Victim::AwaitGo(const std::string& connected, const std::string& go) {
    const UniqueHandle connectedEvent = SharedEvent(ToWide(connected));
    const UniqueHandle goEvent = SharedEvent(ToWide(go));
    if (plan_.client) {
        addIn_->Ribbon(workbench::Surface::Explorer).Press(L"StartVideoMeetingCalendar");
    }
    ::SetEvent(connectedEvent.Get());
    workbench::PumpUntil([&] { return ::WaitForSingleObject(goEvent.Get(), 0) == WAIT_OBJECT_0; }, kGoLimit);
    going_ = true;
}

void Victim::Press() {
    constexpr const wchar_t* kButtons[] = {L"StartVideoMeetingCalendar", L"StartAudioMeetingMail", L"BookMeetingMail"};
    addIn_->Ribbon(workbench::Surface::Explorer).Press(kButtons[random_() % std::size(kButtons)]);
}

void Victim::Act() {
    switch (random_() % 4) {
    case 0: {
        const workbench::ItemPtr item = host_->NewAppointment();
        item->fields.subject.assign(random_() % 3 == 0 ? 3000 : 20, L'x'); // a command of several segments, too
        host_->OpenInspector(item);
        addIn_->Ribbon(workbench::Surface::Appointment).Press(L"BookMeetingAppointment");
        break;
    }
    case 1:
        if (!host_->Inspectors().empty()) {
            host_->Inspectors().front()->CurrentItem()->Save();
        }
        break;
    default:
        Press();
    }
    while (host_->Inspectors().size() > kMostInspectors) {
        host_->Inspectors().back()->CloseWithoutAsking();
    }
    workbench::PumpFor(static_cast<unsigned>(random_() % 12));
}

void Victim::ActFor(DWORD milliseconds) {
    const ULONGLONG end = ::GetTickCount64() + milliseconds;
    while (::GetTickCount64() < end) {
        Act();
    }
}

void Victim::StartLogging() const {
    IDispatch* object = nullptr; // kept
    addIn_->Object()->QueryInterface(IID_IDispatch, reinterpret_cast<void**>(&object));
    for (unsigned i = 0; i < kLoggingThreads; ++i) {
        std::thread([object, mark = std::string(1, static_cast<char>('A' + i))] {
            for (std::uint64_t number = 0;; ++number) {
                Module::LogBy(object, NumberedText(mark, number));
            }
        }).detach();
    }
}

int Victim::Disconnect() {
    const long references = addIn_->Exit();
    host_->Shutdown();
    if (references != 0 || !host_->Objects().Outstanding().empty()) {
        Say("references are left");
        return 1;
    }
    if (plan_.ending == Ending::ExitAfterDisconnect) {
        Exit();
    }
    return static_cast<int>(plan_.code);
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
        return 1;
    }
    switch (plan_.ending) {
    case Ending::ReturnFromMain:
        return static_cast<int>(plan_.code);
    case Ending::ReturnAfterDisconnect:
    case Ending::ExitAfterDisconnect:
        return Disconnect();
    default:
        Exit();
    }
}

} // namespace

int PlayExit(const std::vector<std::string>& orders) {
    auto* victim = new Victim(ExitPlan::Read(orders));
    victim->Connect();
    victim->AwaitGo(orders.at(5), orders.at(6));
    return victim->Play();
}

} // namespace endings
