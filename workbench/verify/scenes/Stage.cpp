#include "workbench/verify/scenes/Stage.h"

#include "workbench/verify/faults/Hooks.h"

#include "support/Text.h"
#include "workbench/host/Pump.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>

namespace verify {
namespace {

using workbench::CallRecord;
using workbench::FailKind;

constexpr std::uint64_t kRounds = 3;      // of the channel, in which a message has passed it
constexpr ULONGLONG kStartLimit = 40;     // ms; a channel that could not be started makes none
constexpr ULONGLONG kRoundsLimit = 3'000; // ms
constexpr unsigned kArrivalLimit = 3'000; // ms
constexpr auto kForced = static_cast<HRESULT>(0x80040155);
constexpr int kNoCommand = 0;

/// The required effect of a failed call on Outlook's objects, in a scene or in all scenes whose names begin so: a line
/// of the log, and a command or none.
struct Consequence {
    std::string_view scene;
    std::wstring_view call;
    bool firstOnly; // of the calls of that name in the step
    const char* line;
    int command = -1; // not asked
};
constexpr const char* kNoStatus = "Err AddIn::GetMeetingInfo get_MeetingStatus fail: 0x80040155";
constexpr Consequence kConsequences[] = {
    {"event-new-", L"Inspector.CurrentItem", false, "War AddIn::OnNewInspector get cureent item fail: 0x80040155"},
    {"event-close-", L"Inspector.CurrentItem", false, "War AddIn::OnInspectorClose get cureent item fail: 0x80040155"},
    {"event-", L"AppointmentItem.EndUTC", false, "Err AddIn::GetMeetingInfo get_EndUTC fail 0x80040155"},
    {"event-close-", L"AppointmentItem.MeetingStatus", false, kNoStatus},
    {"event-send-", L"AppointmentItem.MeetingStatus", true, kNoStatus}, // a write looks at it, too
    {"event-send", L"AppointmentItem.MeetingStatus", true, kNoStatus},
    // Saved or not is unknown then, and a cancelled meeting does not come back.
    {"event-close-saved", L"AppointmentItem.Saved", false, nullptr, kNoCommand},
    {"event-close-saved", L"AppointmentItem.FormDescription", true, nullptr, kNoCommand},
    {"event-close-saved", L"FormDescription.Comment", true, nullptr, kNoCommand},
    {"event-close-saved", L"FormDescription.put Comment", false, nullptr, 6},
    {"event-close-saved", L"AppointmentItem.Subject", false, nullptr, 6},
    {"event-close-saved", L"AppointmentItem.GetInspector", false, nullptr, 6},
};

bool IsQuery(const CallRecord& call) {
    return call.member == L"QueryInterface" || call.member == L"FindConnectionPoint";
}

} // namespace

Stage::Stage(StagedModule& module, const Plan& plan) : plan_(plan), session_(module.Path()) {
    if ((plan.flags & kNoClient) == 0) {
        client::Start();
    }
    Begin();
    Spoil({});
}

void Stage::Begin() {
    session_.AnswerDialogs([this] { return plan_.dialogAnswer; });
    workbench::HostOptions options;
    options.habits.ribbonByHand = true;
    if ((plan_.flags & kUnconnected) != 0) {
        session_.Begin(options);
    } else {
        session_.Connect(options);
    }
    Explorer();
    Appointment();
    Settle();
}

std::vector<std::string> Stage::End() {
    item = nullptr;
    explorer = nullptr;
    return session_.End();
}

void Stage::Prepare() {
    if (!session_.Running()) {
        Begin();
    }
    if (plan_.prepare != nullptr) {
        plan_.prepare(*this);
    }
    Settle();
    client::ForgetCommands();
    launchesBefore_ = Launches();
    dialogsBefore_ = session_.Dialogs();
}

bool Stage::Works() {
    if (!session_.Running()) {
        Begin();
    }
    if (!AddIn().Connected() && AddIn().Connect() != S_OK) {
        return false;
    }
    const bool labels = Explorer().AskLabel(L"StartMeetingMail").status == S_OK;
    if (!client::IsThere()) {
        return labels;
    }
    client::ForgetCommands();
    constexpr int kStartAudio = 3;
    const bool pressed = Explorer().Press(L"StartAudioMeetingMail") == S_OK;
    Settle();
    return labels && pressed &&
           (Degraded() || workbench::PumpUntil([] { return CommandCame(kStartAudio); }, kArrivalLimit));
}

/// The first connection of a process starts the channel. The channel works without the parts that it could not create
/// then.
bool Stage::Degraded() {
    return !client::HasServer() || ChannelRounds() == 0;
}

void Stage::Spoil(const Order& order) {
    spoils_ = order;
    if (plan_.text != nullptr) {
        const bool cut = Cuts() && order.kind == Kind::Json && order.number != 0;
        text = std::string(plan_.text).substr(0, cut ? order.number - 1 : std::string::npos);
    }
    if (!session_.Running()) {
        return;
    }
    Host().ClearFailures();
    Host().ResetCalls();
    const bool counts = order.number == 0 || order.kind == Kind::HostStatus; // a failed query is a status in any case
    Host().habits().countQueryInterface = counts;
    if (order.FailsHostCalls()) {
        Host().FailCall(static_cast<std::size_t>(order.number),
                        order.kind == Kind::HostStatus ? FailKind::Status
                        : order.kind == Kind::HostNull ? FailKind::NullResult
                                                       : FailKind::Exception,
                        kForced);
        log_.emplace();
    }
}

void Stage::Count(Counts& counts) const {
    if (Cuts()) {
        counts[static_cast<std::size_t>(Kind::Json)] = std::strlen(plan_.text);
    }
    if (!session_.Running() || (plan_.flags & kOncePerProcess) != 0) {
        return;
    }
    const std::vector<CallRecord> calls = Host().Calls();
    const auto queries = static_cast<std::size_t>(std::count_if(calls.begin(), calls.end(), &IsQuery));
    counts[static_cast<std::size_t>(Kind::HostStatus)] = calls.size();
    counts[static_cast<std::size_t>(Kind::HostNull)] = calls.size() - queries;
    counts[static_cast<std::size_t>(Kind::HostException)] = calls.size() - queries;
}

std::optional<CallRecord> Stage::FailedCall() const {
    const std::vector<CallRecord> calls = session_.Running() ? Host().Calls() : std::vector<CallRecord>();
    const auto found = std::find_if(calls.begin(), calls.end(), [](const CallRecord& call) { return call.forced; });
    return found != calls.end() ? std::make_optional(*found) : std::nullopt;
}

std::string Stage::Spoilt() const {
    if (Cuts() && spoils_.kind == Kind::Json && spoils_.number != 0 && spoils_.number <= std::strlen(plan_.text)) {
        return "text";
    }
    const auto call = FailedCall();
    return call ? ToUtf8(call->object + L"." + call->member) : "";
}

std::vector<std::string> Stage::Judge() {
    std::vector<std::string> problems;
    const auto call = FailedCall();
    if (!call) {
        return problems;
    }
    Host().ClearFailures();
    Settle();
    std::vector<std::string> lines;
    for (const AddinLogLine& line : log_->Read()) {
        lines.push_back(fmt::format("{} {} {}", line.level, line.function, line.text));
    }
    const std::wstring name = call->object + L"." + call->member;
    const std::vector<CallRecord> calls = Host().Calls();
    const bool isFirst = std::none_of(calls.begin(), calls.end(), [&](const CallRecord& one) {
        return one.number < call->number && one.object == call->object && one.member == call->member;
    });
    for (const Consequence& due : kConsequences) {
        const std::string_view scene = plan_.name;
        const bool applies = due.scene.ends_with('-') ? scene.starts_with(due.scene) : scene == due.scene;
        if (!applies || name != due.call || (due.firstOnly && !isFirst) ||
            spoils_.kind == Kind::HostNull) { // that one is a success without a value
            continue;
        }
        if (due.line != nullptr && std::find(lines.begin(), lines.end(), due.line) == lines.end()) {
            problems.push_back(std::string("no line in the log: ") + due.line);
        }
        if (due.command >= 0 && (due.command == kNoCommand ? client::Has("cmd") : !CommandCame(due.command))) {
            problems.push_back(fmt::format("not the command {}", due.command));
        }
    }
    if ((plan_.flags & kUnconnected) != 0) { // either all of it works or nothing does
        const bool connected = ::FindWindowW(L"NBM_OUTLOOK_ADDIN_MSGWND", nullptr) != nullptr;
        if (Explorer().Press(L"StartMeetingMail") != (connected ? S_OK : E_FAIL)) {
            problems.push_back("the add-in is half connected");
        }
    }
    if ((plan_.flags & kSinksRest) != 0 && !IsQuery(*call)) { // a failed query may leave a sink until the end
        for (const workbench::InspectorPtr& inspector : Host().Inspectors()) {
            inspector->CurrentItem()->fields.comment.clear();
        }
        CloseInspectors();
        if (Host().AdvisedSinks().size() != 2 + Host().Explorers().size()) {
            problems.push_back("leak: a sink of a closed window");
        }
    }
    return problems;
}

workbench::ItemPtr Stage::Open(bool saved, const wchar_t* comment) {
    return player_.Open(saved, L"Planning \x4f1a\x8bae", comment);
}

void Stage::Settle() {
    workbench::PumpFor(0);
    const std::uint64_t rounds = ChannelRounds();
    const ULONGLONG end = ::GetTickCount64() + (rounds == 0 ? kStartLimit : kRoundsLimit);
    while (ChannelRounds() < rounds + kRounds && ::GetTickCount64() < end) {
        workbench::PumpFor(1);
    }
    workbench::PumpFor(0);
}

HRESULT Stage::Press(const wchar_t* control) {
    const bool appointment = (plan_.flags & kInAppointment) != 0;
    const HRESULT status =
        player_.Press(appointment ? workbench::Surface::Appointment : workbench::Surface::Explorer, control);
    Settle();
    return status;
}

bool Stage::Notify(std::string_view json) {
    const bool sent = client::Notify(json);
    Settle();
    return sent;
}

bool Stage::CommandCame(int command) {
    return client::Has("\"cmd\" : " + std::to_string(command));
}

bool Stage::Arrives(const std::function<bool()>& holds) const {
    return holds() || (!IsStruck() && Spoilt().empty() && workbench::PumpUntil(holds, kArrivalLimit));
}

bool Stage::Launched() const {
    return Launches() > launchesBefore_;
}

std::string Stage::Unique() {
    static std::uint64_t number = 0;
    return "unique-" + std::to_string(++number);
}

} // namespace verify
