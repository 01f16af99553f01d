#include "workbench/verify/core/Options.h"

#include "workbench/verify/core/Process.h"
#include "workbench/verify/core/Report.h"
#include "workbench/verify/core/Usage.h"
#include "workbench/verify/scenes/Actions.h"
#include "workbench/verify/soak/Sides.h"

#include "workbench/host/Pump.h"

#include <algorithm>
#include <cmath>
#include <random>
#include <utility>

namespace verify {
namespace {

using Clock = std::chrono::steady_clock;

// Generous: a machine with too much to do is no fault of the add-in.
constexpr std::chrono::seconds kAnswerLimit{150};
constexpr std::chrono::seconds kSettleLimit{120};
constexpr unsigned kShowLimit = 120'000; // ms; far longer than any hang
constexpr std::uint64_t kActionsOfSession = 150;
constexpr std::size_t kMostInspectors = 12;
constexpr unsigned kSettleAttempt = 5000; // ms
constexpr unsigned kLongestPause = 40;    // ms between two actions; the channel takes a message every 20
constexpr unsigned kQueueTime = 100;      // ms in which the add-in mostly takes the messages that its channel holds
constexpr unsigned kShortHang = 1500;     // ms; the channel waits for 3000
constexpr unsigned kLongHang = 4500;
// Between two ends of sessions nothing of Outlook or the client is left. A leak grows with every session; these absorb
// the memory that the system and the C library keep for later.
constexpr std::size_t kFewestUsages = 3; // else the middle is the start or the end
constexpr Usage kSlack = {16, kNotJudged, 0, 8, 8, 16U << 20, 256U << 10, kNotJudged};

/// Each run of Outlook has other habits, as versions of it do. Those with which no add-in could know its windows again
/// are left out. Without a window of its own, a command carries no place.
workbench::Habits HabitsFrom(std::uint64_t random) {
    using workbench::Habits;
    workbench::Habits habits;
    for (bool Habits::*habit :
         {&Habits::distinctPointers, &Habits::nullAsEmpty, &Habits::refuseVtInt, &Habits::noCurrentItemInClose,
          &Habits::deferredExceptions, &Habits::noOleWindow, &Habits::nullContext, &Habits::cancelMissing,
          &Habits::editorChain, &Habits::ribbonBeforeConnection, &Habits::onLoadTwice, &Habits::cancelByValue,
          &Habits::closeInsideRelease, &Habits::noiseEvents, &Habits::fastShutdown, &Habits::drawRibbon}) {
        habits.*habit = habits.*habit != ((random & 3) == 0); // the unusual way, one time in four
        random >>= 2;
    }
    return habits;
}

/// The whole run. Main thread.
class Soak {
public:
    explicit Soak(const SoakOptions& options)
        : options_(options), random_(options.seed), dialogRandom_(options.seed ^ 0x9E3779B97F4A7C15) {
        session_.observer = [this](const workbench::Step& step) { CountInspectors(step); };
        session_.whileDialogIsOpen = [this] { WhileDialogIsOpen(); };
    }

    int Run();

private:
    struct OwnAction {
        const char* name;
        unsigned weight;
        void (*play)(Soak&, const Draw&);
    };
    static const OwnAction kOwnActions[];

    Draw NextDraw() { return {random_(), random_(), random_(), random_()}; }
    bool TimeIsUp() const;
    void Step();
    void Play(std::uint64_t choice, const Draw& draw);
    void Began(const char* name);
    void ReadAll();
    void Settle();
    void AnswerDialogs();
    void WhileDialogIsOpen();
    void CountInspectors(const workbench::Step& step);

    void BeginSession(const Draw& draw);
    void EndSession();
    void EndSessionAndClient();
    void StartClient();
    void EndClient(bool kill);

    void ChangeLanguage(const Draw& draw);
    void Reconnect(const Draw& draw);
    void RestartOutlook(const Draw& draw);
    void KillClient(const Draw& draw);

    void CheckMessages();
    void CheckUsage();
    void TellLedger();

    const SoakOptions& options_;
    std::mt19937_64 random_;
    std::mt19937_64 dialogRandom_; // dialogs come when they come; their answers must not disturb the actions
    Report report_;
    const Clock::time_point end_ = Clock::now() + std::chrono::seconds(options_.seconds);
    Watchdog watchdog_{kAnswerLimit};
    MessageFlow commands_{"command"};
    MessageFlow notifications_{"notification"};
    AddinLog log_{commands_, notifications_};
    ClientSide client_{commands_, notifications_};
    Pulse pulse_;
    Session session_;
    Player player_{session_};
    const Usage usageAtStart_ = MeasureUsage();
    std::vector<Usage> usages_; // at the ends of sessions, when everything has gone
    bool nested_ = false;
    std::uint64_t actions_ = 0;
    std::uint64_t actionsOfSession_ = 0;
    std::uint64_t sessions_ = 0;
    std::uint64_t inspectorsOpened_ = 0;
    std::uint64_t inspectorsClosed_ = 0; // by their event; the others went with Outlook
    std::uint64_t reconnects_ = 0;
    std::uint64_t hostObjects_ = 0;
    std::uint64_t hostCalls_ = 0;
    std::chrono::milliseconds longestAction_{0};
    std::string name_; // of the action
    std::string longestName_;
};

const Soak::OwnAction Soak::kOwnActions[] = {
    {"change language", 1, [](Soak& soak, const Draw& draw) { soak.ChangeLanguage(draw); }},
    {"reconnect add-in", 2, [](Soak& soak, const Draw& draw) { soak.Reconnect(draw); }},
    {"restart Outlook", 1, [](Soak& soak, const Draw& draw) { soak.RestartOutlook(draw); }},
    {"start client", 14, [](Soak& soak, const Draw&) { soak.client_.Alive() ? void() : soak.StartClient(); }},
    {"quit client", 1, [](Soak& soak, const Draw&) { soak.client_.Alive() ? soak.EndClient(false) : void(); }},
    {"kill client", 2, [](Soak& soak, const Draw& draw) { soak.KillClient(draw); }},
    {"kill client within a message", 1, // the messages that follow must still arrive
     [](Soak& soak, const Draw& draw) {
         if (soak.client_.TakesOrders()) {
             soak.client_.Order(fmt::format("die-midway 3000 {}", 1 + draw.a % 2));
             soak.EndClient(true);
         }
     }},
    {"hang client", 1,
     [](Soak& soak, const Draw& draw) {
         soak.ReadAll();
         soak.client_.Hang(draw.a % 2 == 0 ? kLongHang : kShortHang);
     }},
    {"hide client", 1,
     [](Soak& soak, const Draw&) {
         if (soak.client_.TakesCommands()) {
             soak.client_.Hide();
             soak.ReadAll();
             soak.commands_.ExcuseFirst();
         }
     }},
    {"show client", 8, [](Soak& soak, const Draw&) { soak.client_.Show(); }},
};

int Soak::Run() {
    BeginSession(NextDraw());
    StartClient();
    while (!TimeIsUp()) {
        if (actionsOfSession_ == kActionsOfSession) {
            EndSessionAndClient();
            BeginSession(NextDraw());
            StartClient();
        }
        Step();
    }
    EndSessionAndClient();
    CheckUsage();
    TellLedger();
    return report_.Tell();
}

bool Soak::TimeIsUp() const {
    return Clock::now() >= end_ || (options_.actions != 0 && actions_ >= options_.actions);
}

void Soak::Began(const char* name) {
    name_ = fmt::format("action {}, {}", actions_, name);
    watchdog_.Doing(name_);
    if (options_.verbose) {
        SayLine(name_);
    }
}

void Soak::Play(std::uint64_t choice, const Draw& draw) {
    if (const Action* action = Choose(HostActions(), choice)) {
        Began(action->name);
        action->play(player_, draw);
    } else if (const ClientOrder* order = Choose(ClientOrders(), choice)) {
        Began(order->name);
        client_.Order(order->make(player_, draw));
    } else if (const OwnAction* own = Choose(kOwnActions, choice)) {
        Began(own->name);
        own->play(*this, draw);
    }
}

void Soak::Step() {
    static const std::uint64_t total = Weight(HostActions()) + Weight(ClientOrders()) + Weight(kOwnActions);
    const Draw draw = NextDraw();
    const auto pause = static_cast<unsigned>(random_() % kLongestPause);
    ++actions_;
    ++actionsOfSession_;
    AnswerDialogs();
    const auto begin = Clock::now();
    Play(draw.kind % total, draw);
    const auto took = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - begin);
    if (took > longestAction_) {
        longestAction_ = took;
        longestName_ = name_;
    }
    workbench::PumpFor(pause);
    session_.CloseInspectors(kMostInspectors);
    hostCalls_ += session_.Host().CallCount();
    session_.Host().ResetCalls();
    ReadAll();
    if (report_.ProgressIsDue()) {
        Say("{:5} s  actions {}, sessions {}, presses {}, dialogs {}, commands {}/{}, notifications {}/{}, clients {}, "
            "violations {}",
            report_.Seconds(), actions_, sessions_, player_.Presses(), session_.Dialogs(), commands_.Delivered(),
            commands_.SentCount(), notifications_.Delivered(), notifications_.SentCount(), client_.starts,
            report_.Violations());
    }
}

// The transcript first: a command that it shows was accepted before, so that the log, read later, shows that too.
void Soak::ReadAll() {
    client_.Read();
    log_.Read();
    if (pulse_.WasSlow()) {
        commands_.ExcuseAll();
        client_.MayBeTorn();
    }
    commands_.Match(true);
    notifications_.Match(false); // the client writes a notification down after the add-in took it
    if (notifications_.Undecided() && client_.ReadAllSent()) {
        notifications_.Match(true);
    }
}

/// Waits until everything underway has arrived, or cannot any more because something that was sent later has.
void Soak::Settle() {
    watchdog_.Doing("settling");
    const auto arrived = [this] {
        watchdog_.Beat();
        ReadAll();
        return commands_.Empty() && notifications_.Empty();
    };
    const auto end = Clock::now() + kSettleLimit;
    do {
        player_.Press(workbench::Surface::Explorer, L"StartAudioMeetingMail");
        client_.Order(UnknownNotification(player_, {}));
    } while (!workbench::PumpUntil(arrived, kSettleAttempt) && Clock::now() < end);
}

void Soak::AnswerDialogs() {
    session_.AnswerDialogs([this] {
        constexpr int kCloseBox = 2, kSyncNow = 4, kLater = 5;
        constexpr int kChoice[] = {kCloseBox, kSyncNow, kLater, kLater};
        return kChoice[dialogRandom_() % 4];
    });
}

/// Plays another action of Outlook while a dialog of the add-in waits for its answer.
void Soak::WhileDialogIsOpen() {
    watchdog_.Beat();
    const Draw draw{dialogRandom_() % 16, dialogRandom_(), dialogRandom_(), dialogRandom_()};
    constexpr std::string_view kNames[] = {"press in explorer", "open item", "open explorer", "ask ribbon"};
    if (nested_ || !session_.Running() || draw.kind > std::size(kNames)) {
        return;
    }
    nested_ = true;
    if (draw.kind == std::size(kNames)) {
        client_.Order(ClientOrders().front().make(player_, draw));
    } else {
        std::find_if(HostActions().begin(), HostActions().end(), [&](const Action& one) {
            return one.name == kNames[draw.kind];
        })->play(player_, draw);
    }
    nested_ = false;
}

void Soak::CountInspectors(const workbench::Step& step) {
    if (step.kind == workbench::StepKind::Event) {
        inspectorsOpened_ += step.text.starts_with(L"Inspectors NewInspector") ? 1 : 0;
        inspectorsClosed_ += step.text.starts_with(L"Inspector #") && step.text.find(L" Close ") != step.text.npos;
    }
}

void Soak::BeginSession(const Draw& draw) {
    watchdog_.Doing("starting Outlook");
    ++sessions_;
    actionsOfSession_ = 0;
    AnswerDialogs();
    workbench::HostOptions options;
    options.language = player_.language;
    options.habits = HabitsFrom(draw.a);
    session_.Begin(options, draw.c % 2 == 0 ? L"Inbox" : L"Calendar");
    if (draw.b % 2 == 0) {
        session_.Host().AddStore(L"Archive", draw.b % 4 == 0 ? std::make_optional<std::wstring>(L"") : std::nullopt);
    }
    if (const HRESULT status = session_.AddIn().Connect(); status != S_OK) {
        report_.Violation(fmt::format("OnConnection answers {}", status));
    }
}

void Soak::EndSession() {
    watchdog_.Doing("ending Outlook");
    hostObjects_ += session_.Host().Objects().Created();
    for (const std::string& problem : session_.End()) {
        report_.Violation(fmt::format("at action {}: {}", actions_, problem));
    }
}

void Soak::EndSessionAndClient() {
    if (!client_.Alive()) {
        StartClient();
    }
    workbench::PumpUntil(
        [this] {
            watchdog_.Beat();
            ReadAll();
            return !client_.Hanging();
        },
        kShowLimit);
    client_.Show();
    session_.CloseInspectors(sessions_ % 2 == 0 ? 0 : SIZE_MAX); // else Outlook ends with its windows open
    Settle();
    EndSession();
    EndClient(false);
    CheckMessages();
    usages_.push_back(MeasureUsage());
}

void Soak::StartClient() {
    watchdog_.Doing("starting the client");
    client_.Forget();
    client_.Start();
}

void Soak::EndClient(bool kill) {
    ReadAll();
    if (kill || client_.Hanging()) {
        client_.Kill();
        notifications_.ExcuseUnrecorded();
    } else if (!client_.Quit()) {
        report_.Violation("the client did not end when it was asked to");
    }
    workbench::PumpFor(kQueueTime);
    ReadAll();
    commands_.ExcuseFirst();
    client_.Forget();
}

void Soak::ChangeLanguage(const Draw& draw) {
    constexpr long kLanguages[] = {1033, 2052, 1031};
    player_.language = kLanguages[draw.a % std::size(kLanguages)];
    session_.Host().language = player_.language; // the add-in reads it at the next connection
    Reconnect(draw);
}

void Soak::Reconnect(const Draw& draw) {
    ++reconnects_;
    session_.AddIn().Disconnect(draw.a % 4 == 0 ? workbench::kHostShutdown : workbench::kUserClosed);
    workbench::PumpFor(static_cast<unsigned>(draw.b % 60));
    if (const HRESULT status = session_.AddIn().Connect(static_cast<workbench::ConnectMode>(draw.c % 4));
        status != S_OK) {
        report_.Violation(fmt::format("OnConnection answers {}", status));
    }
}

void Soak::RestartOutlook(const Draw& draw) {
    const std::uint64_t actions = actionsOfSession_;
    hostCalls_ += session_.Host().CallCount();
    EndSession();
    BeginSession(draw);
    actionsOfSession_ = actions;
}

void Soak::KillClient(const Draw& draw) {
    if (!client_.Alive()) {
        return;
    }
    if (draw.a % 2 == 0) { // with a command underway
        player_.Press(workbench::Surface::Explorer, L"StartVideoMeetingCalendar");
        workbench::PumpFor(static_cast<unsigned>(draw.b % 30));
    }
    if (client_.Alive()) {
        EndClient(true);
    }
}

/// Reports the violations in the messages of this session.
void Soak::CheckMessages() {
    for (MessageFlow* flow : {&commands_, &notifications_}) {
        flow->GiveUp();
        for (const std::string& fault : flow->TakeFaults()) {
            report_.Violation(fmt::format("by action {}: {}", actions_, fault));
        }
    }
    for (const std::string& fault : std::exchange(client_.faults, {})) {
        report_.Violation("the client holds against the add-in: " + fault);
    }
}

/// From the middle to the end, so that the things that are made once and kept do not count. The add-in keeps the parts
/// of messages without an end for good; they grow by doubling.
void Soak::CheckUsage() {
    if (usages_.size() < kFewestUsages) {
        Say("resources are not judged: too few runs of Outlook");
        return;
    }
    Usage kept{};
    kept[kPrivateBytes] = kept[kHeapBytes] = 2 * client_.tornBytes;
    const std::string grown = Growth(usages_[(usages_.size() - 1) / 2], usages_.back(), kSlack, kept);
    if (!grown.empty()) {
        report_.Violation("leak: " + grown);
    }
}

void Soak::TellLedger() {
    const auto flow = [this](const char* what, const MessageFlow& messages) {
        report_.Row(what, fmt::format("sent {}, delivered once {}, lost {}, duplicated {}, overtaken {}",
                                      messages.SentCount(), messages.Delivered(), messages.Lost(),
                                      messages.Duplicated(), messages.Overtaken()));
        report_.Row(fmt::format("{}: in flight at a kill, in a hang or on a busy machine", what),
                    messages.LostExcused());
        report_.Row(fmt::format("{}: taken, and not written down by a killed sender", what), messages.Unrecorded());
    };
    report_.Row("seed", options_.seed);
    report_.Row("actions", actions_);
    report_.Row("runs of Outlook", sessions_);
    report_.Row("reconnections of the add-in", reconnects_);
    report_.Row("explorers opened", sessions_ + player_.Explorers());
    report_.Row("inspectors opened", inspectorsOpened_);
    report_.Row("inspectors closed by their event", inspectorsClosed_);
    report_.Row("presses", player_.Presses());
    report_.Row("dialogs answered", session_.Dialogs());
    report_.Row("calls on host objects", hostCalls_);
    report_.Row("host objects handed out", hostObjects_);
    report_.Row("clients started", client_.starts);
    report_.Row("clients killed", client_.kills);
    report_.Row("clients hung", client_.hangs);
    flow("commands to the client", commands_);
    report_.Row("commands that found no client", log_.refused);
    flow("notifications to the add-in", notifications_);
    report_.Row("notifications not acknowledged in time", client_.unacknowledged);
    report_.Row("notifications without an end, kept by the add-in", client_.torn);
    report_.Row("error lines in the add-in's log", log_.errors);
    report_.Row("warning lines in the add-in's log", log_.warnings);
    report_.Row("longest action", fmt::format("{} ms ({})", longestAction_.count(), longestName_));
    report_.Row("at the start", Describe(usageAtStart_));
    report_.Row("after the first run of Outlook", Describe(usages_.front()));
    report_.Row("in the middle", Describe(usages_[(usages_.size() - 1) / 2]));
    report_.Row("at the end", Describe(usages_.back()));
}

} // namespace

int RunSoak(SoakOptions options) {
    options.seconds =
        options.seconds != 0 ? options.seconds : static_cast<std::uint64_t>(std::ceil(options.minutes * 60));
    Say("seed {}, {} s", options.seed, options.seconds);
    ReportCrashes();
    return Soak(options).Run();
}

} // namespace verify
