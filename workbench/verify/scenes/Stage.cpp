#include "workbench/verify/scenes/Stage.h"

#include "workbench/verify/faults/Hooks.h"
#include "workbench/verify/faults/Injector.h"

#include "support/Text.h"
#include "workbench/host/Pump.h"
#include "workbench/wire/Envelope.h"
#include "workbench/wire/Window.h"

#include <fmt/format.h>

#include <algorithm>
#include <mutex>

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

std::wstring NameOf(const CallRecord& call) {
    return call.object + L"." + call.member;
}

bool IsQuery(const CallRecord& call) {
    return call.member == L"QueryInterface" || call.member == L"FindConnectionPoint";
}

// The meeting client's end of the channel: its hidden window, here on a thread of this process. Once there it stays.
const wire::WindowThread* g_client = nullptr;
std::mutex g_lock;
std::string g_commands;
std::uint32_t g_number = 100; // of the last message

void StartClient() {
    if (g_client == nullptr) {
        g_client = new wire::WindowThread(wire::kClientWindow, [](HWND, const COPYDATASTRUCT& data) -> LRESULT {
            const std::scoped_lock lock(g_lock);
            g_commands.append(static_cast<const char*>(data.lpData), data.cbData);
            return TRUE;
        });
    }
}

void ForgetCommands() {
    const std::scoped_lock lock(g_lock);
    g_commands.clear();
}

/// Whether that command came since then, or any for `kNoCommand`; segments are looked at one by one.
bool CommandCame(int command) {
    const std::scoped_lock lock(g_lock);
    return g_commands.find(command == kNoCommand ? "cmd" : fmt::format("\"cmd\" : {}", command)) != std::string::npos;
}

/// Lets everything that is under way arrive: channel rounds and posted messages.
void Settle() {
    workbench::PumpFor(0);
    const std::uint64_t rounds = ChannelRounds();
    const ULONGLONG end = ::GetTickCount64() + (rounds == 0 ? kStartLimit : kRoundsLimit);
    while (ChannelRounds() < rounds + kRounds && ::GetTickCount64() < end) {
        workbench::PumpFor(1);
    }
    workbench::PumpFor(0);
}

} // namespace

Stage::Stage(StagedModule& module, const Plan& plan) : plan_(plan), session_(module.Path()) {
    if ((plan.flags & kNoClient) == 0) {
        StartClient();
    }
    Begin();
}

void Stage::Begin() {
    session_.AnswerDialogs([this] { return plan_.dialogAnswer; });
    workbench::HostOptions options;
    options.habits.ribbonByHand = true;
    options.habits.countQueryInterface = true;
    if ((plan_.flags & kUnconnected) != 0) {
        session_.Begin(options);
    } else {
        session_.Connect(options);
    }
    Host().FailWhen([this](const CallRecord& call) { return Fail(call); });
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
    static std::uint64_t number = 0;
    subject = fmt::format("unique-{}", ++number);
    if (!session_.Running()) {
        Begin();
    }
    if (plan_.prepare != nullptr) {
        plan_.prepare(*this);
    }
    Settle();
    ForgetCommands();
    Host().ResetCalls();
    launchesBefore_ = Launches();
    dialogsBefore_ = session_.Dialogs();
    log_.emplace();
}

bool Stage::Step() {
    text = CutText(plan_.text != nullptr ? plan_.text : "");
    const bool done = plan_.step(*this);
    Settle();
    // While nothing fails it is waited for: the channel's threads may be late on a busy machine.
    return done &&
           (HadItsEffect() || (!IsStruck() && workbench::PumpUntil([this] { return HadItsEffect(); }, kArrivalLimit)));
}

bool Stage::HadItsEffect() const {
    const auto wants = [this](PlanFlag flag) { return (plan_.flags & flag) != 0; };
    if ((plan_.command >= 0 && !CommandCame(plan_.command)) || (wants(kLaunches) && Launches() <= launchesBefore_) ||
        (wants(kAsks) && session_.Dialogs() <= dialogsBefore_)) {
        return false;
    }
    const auto items = wants(kNamesItem) ? Host().Appointments() : std::vector<workbench::ItemPtr>();
    return !wants(kNamesItem) || std::any_of(items.begin(), items.end(), [this](const workbench::ItemPtr& one) {
        return (!item || one == item) && ToUtf8(one->Subject()) == subject;
    });
}

bool Stage::Works() {
    if (!session_.Running()) {
        Begin();
    }
    if (!AddIn().Connected() && AddIn().Connect() != S_OK) {
        return false;
    }
    const bool labels = Explorer().AskLabel(L"StartMeetingMail").status == S_OK;
    if (g_client == nullptr) {
        return labels;
    }
    ForgetCommands();
    constexpr int kStartAudio = 3;
    const bool pressed = Explorer().Press(L"StartAudioMeetingMail") == S_OK;
    Settle();
    return labels && pressed &&
           (Degraded() || workbench::PumpUntil([] { return CommandCame(kStartAudio); }, kArrivalLimit));
}

/// The first connection of a process starts the channel. The channel works without the parts that it could not create
/// then.
bool Stage::Degraded() {
    return wire::Find(wire::kAddinWindow) == nullptr || ChannelRounds() == 0;
}

std::optional<workbench::Failure> Stage::Fail(const CallRecord& call) {
    const KindMask kinds =
        Mask(Kind::HostStatus) | (IsQuery(call) ? 0 : Mask(Kind::HostNull) | Mask(Kind::HostException));
    if (!Strikes(ToUtf8(NameOf(call)).c_str(), kinds)) {
        return std::nullopt;
    }
    failed_ = call;
    return workbench::Failure{OrderedKind() == Kind::HostStatus ? FailKind::Status
                              : OrderedKind() == Kind::HostNull ? FailKind::NullResult
                                                                : FailKind::Exception,
                              kForced};
}

std::vector<std::string> Stage::Judge() {
    std::vector<std::string> problems;
    if (!failed_ || !session_.Running()) {
        return problems;
    }
    Settle();
    if (OrderedKind() != Kind::HostNull) { // that one is a success without a value
        JudgeConsequences(problems);
    }
    if ((plan_.flags & kUnconnected) != 0) { // either all of it works or nothing does
        const bool connected = ::FindWindowW(L"NBM_OUTLOOK_ADDIN_MSGWND", nullptr) != nullptr;
        if (Explorer().Press(L"StartMeetingMail") != (connected ? S_OK : E_FAIL)) {
            problems.push_back("the add-in is half connected");
        }
    }
    if ((plan_.flags & kSinksRest) != 0 && !IsQuery(*failed_)) { // a failed query may leave a sink until the end
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

void Stage::JudgeConsequences(std::vector<std::string>& problems) {
    std::vector<std::string> lines;
    for (const AddinLogLine& line : log_->Read()) {
        lines.push_back(fmt::format("{} {} {}", line.level, line.function, line.text));
    }
    const std::vector<CallRecord> calls = Host().Calls();
    const bool isFirst = std::none_of(calls.begin(), calls.end(), [this](const CallRecord& one) {
        return one.number < failed_->number && NameOf(one) == NameOf(*failed_);
    });
    for (const Consequence& due : kConsequences) {
        const std::string_view scene = plan_.name;
        const bool applies = due.scene.ends_with('-') ? scene.starts_with(due.scene) : scene == due.scene;
        if (!applies || NameOf(*failed_) != due.call || (due.firstOnly && !isFirst)) {
            continue;
        }
        if (due.line != nullptr && std::find(lines.begin(), lines.end(), due.line) == lines.end()) {
            problems.push_back(std::string("no line in the log: ") + due.line);
        }
        if (due.command >= 0 && CommandCame(due.command) != (due.command != kNoCommand)) {
            problems.push_back(fmt::format("not the command {}", due.command));
        }
    }
}

workbench::ItemPtr Stage::Open(bool saved, const wchar_t* comment) {
    return player_.Open(saved, L"Planning \x4f1a\x8bae", comment);
}

bool Stage::Press(const wchar_t* control) {
    const bool appointment = (plan_.flags & kInAppointment) != 0;
    return player_.Press(appointment ? workbench::Surface::Appointment : workbench::Surface::Explorer, control) == S_OK;
}

bool Stage::Notify(std::string_view json) {
    const HWND server = wire::Find(wire::kAddinWindow);
    return server != nullptr && wire::Send(server, nullptr, json, ++g_number);
}

void Stage::EndSegments() {
    if (const HWND server = wire::Find(wire::kAddinWindow)) {
        const std::string end = fmt::format("{} {}", wire::kPrefix, wire::kEndMark);
        wire::SendBytes(server, nullptr, g_number, end.c_str(), end.size() + 1);
    }
}

} // namespace verify
