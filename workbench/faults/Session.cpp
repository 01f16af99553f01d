#include "workbench/faults/Session.h"

#include "workbench/faults/Hooks.h"

#include "resources/Connect.h"
#include "support/Text.h"
#include "workbench/host/Pump.h"

#include <cstring>
#include <stdexcept>

namespace faults {
namespace {

constexpr std::uint64_t kRounds = 3;      // of the channel, in which a message has passed it
constexpr ULONGLONG kStartLimit = 40;     // ms; a channel that could not be started makes none
constexpr ULONGLONG kRoundsLimit = 1'000; // ms
constexpr unsigned kArrivalLimit = 3'000; // ms
constexpr std::size_t kAnswers = 200;

} // namespace

Session::Session(StagedModule& module, bool withClient, Start start, int dialogAnswer)
    : module_(module), start_(start), dialogAnswer_(dialogAnswer) {
    if (withClient) {
        MeetingClient::Start();
    }
    Begin();
}

Session::~Session() = default;

void Session::Begin() {
    responder_ = std::make_unique<workbench::DialogResponder>(std::vector<int>(kAnswers, dialogAnswer_));
    workbench::HostOptions options;
    options.habits.ribbonByHand = true;
    host_ = std::make_unique<workbench::OutlookHost>(options);
    host_->AddStore(L"Mailbox");
    host_->OpenExplorer(L"Calendar");
    addIn_ = &host_->LoadAddIn(module_.Path(), CLSID_NembraMeeting);
    if (addIn_->LoadStatus() != S_OK) {
        throw std::runtime_error("the add-in's object cannot be made");
    }
    Explorer();
    Appointment();
    if (start_ == Start::Connected) {
        if (addIn_->Connect() != S_OK) {
            throw std::runtime_error("the add-in does not connect");
        }
        Settle();
    }
}

std::vector<std::string> Session::End() {
    std::vector<std::string> problems;
    if (!host_) {
        return problems;
    }
    item = nullptr;
    explorer = nullptr;
    const bool loaded = addIn_->Object() != nullptr;
    if (const long left = addIn_->Exit(); left != (loaded ? 0 : -1)) {
        problems.push_back("leak: references left on the add-in: " + std::to_string(left));
    }
    for (const std::wstring& line : host_->AdvisedSinks()) {
        problems.push_back("leak: still advised: " + ToUtf8(line));
    }
    host_->Shutdown();
    for (const std::wstring& line : host_->Objects().Outstanding()) {
        problems.push_back("leak: still held: " + ToUtf8(line));
    }
    if (host_->WrongThreadCalls() != 0) {
        problems.push_back("calls on another thread");
    }
    addIn_->UnloadModule();
    addIn_ = nullptr;
    host_.reset();
    responder_.reset();
    return problems;
}

workbench::ItemPtr Session::Open(bool saved, const wchar_t* comment) {
    const workbench::ItemPtr made = host_->NewAppointment();
    made->fields.subject = L"Planning \x4f1a\x8bae";
    made->fields.comment = comment;
    if (saved) {
        made->Save(); // nobody listens to it yet
    }
    host_->OpenInspector(made);
    return made;
}

void Session::CloseInspectors() {
    while (!host_->Inspectors().empty()) {
        host_->Inspectors().front()->CloseWithoutAsking();
    }
}

void Session::Settle() {
    workbench::PumpFor(0);
    const std::uint64_t rounds = ChannelRounds();
    const ULONGLONG end = ::GetTickCount64() + (rounds == 0 ? kStartLimit : kRoundsLimit);
    while (ChannelRounds() < rounds + kRounds && ::GetTickCount64() < end) {
        workbench::PumpFor(1);
    }
    workbench::PumpFor(0);
}

bool Session::Notify(std::string_view json) {
    const bool sent = MeetingClient::Notify(json);
    Settle();
    return sent;
}

bool Session::CommandCame(int command) const {
    MeetingClient* client = MeetingClient::Running();
    return client != nullptr && client->Has("\"cmd\" : " + std::to_string(command));
}

void Session::ForgetCommands() const {
    if (MeetingClient* client = MeetingClient::Running()) {
        client->Take();
    }
}

std::string Session::Unique() {
    static std::uint64_t number = 0;
    return "unique-" + std::to_string(++number);
}

SessionAct::SessionAct(StagedModule& module, const SessionPlan& plan)
    : plan_(plan), session_(module, plan.withClient, plan.start, plan.dialogAnswer) {
    Cut(0);
}

void SessionAct::Prepare() {
    if (!session_.Running()) {
        session_.Begin();
    }
    if (plan_.prepare != nullptr) {
        plan_.prepare(session_);
    }
    session_.Settle();
    session_.ForgetCommands();
    session_.before = Launches();
    session_.dialogsBefore = session_.DialogsSeen();
}

bool SessionAct::Step() {
    return plan_.step(session_);
}

bool SessionAct::Works() {
    if (!session_.Running()) {
        session_.Begin();
    }
    if (!session_.AddIn().Connected() && session_.AddIn().Connect() != S_OK) {
        return false;
    }
    const bool labels = session_.Explorer().AskLabel(L"StartMeetingMail").status == S_OK;
    if (MeetingClient::Running() == nullptr) {
        return labels;
    }
    session_.ForgetCommands();
    constexpr int kStartAudio = 3;
    const bool pressed = session_.Explorer().Press(L"StartAudioMeetingMail") == S_OK;
    session_.Settle();
    return labels && pressed &&
           (Degraded() || workbench::PumpUntil([this] { return session_.CommandCame(kStartAudio); }, kArrivalLimit));
}

/// The first connection of a process starts the channel. The channel works without the parts that it could not create
/// then.
bool SessionAct::Degraded() {
    return !MeetingClient::HasServer() || ChannelRounds() == 0;
}

std::vector<std::string> SessionAct::End() {
    return session_.End();
}

std::uint64_t SessionAct::Cuts() const {
    return plan_.cutText != nullptr ? std::strlen(plan_.cutText) : 0;
}

void SessionAct::Cut(std::uint64_t number) {
    if (plan_.cutText != nullptr) {
        const std::string whole = plan_.cutText;
        session_.text = number == 0 ? whole : whole.substr(0, number - 1);
    }
}

void AddScenes(std::vector<Scene>& scenes, std::span<const NamedPlan> plans) {
    for (const NamedPlan& each : plans) {
        scenes.push_back({each.name, false, true, [plan = each.plan](StagedModule& module) {
                              return std::make_unique<SessionAct>(module, plan);
                          }});
    }
}

} // namespace faults
