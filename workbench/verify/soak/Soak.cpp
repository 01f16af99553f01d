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

// Generous: a machine with too much to do is no fault of the add-in.
constexpr std::chrono::seconds kAnswerLimit{150};
constexpr unsigned kShowLimit = 120'000; // ms; far longer than any hang
constexpr std::uint64_t kActionsOfSession = 150;
constexpr std::size_t kMostInspectors = 12;
constexpr unsigned kSettleAttempts = 24;
constexpr unsigned kSettleTime = 5000; // ms of each
constexpr unsigned kLongestPause = 40; // ms between two actions; the channel takes a message every 20
constexpr unsigned kQueueTime = 100;   // ms in which the add-in mostly takes the messages that its channel holds
constexpr unsigned kShortHang = 1500;  // ms; the channel waits for 3000
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
        session_.whileDialogIsOpen = [this] { WhileDialogIsOpen(); };
        session_.observer = [this](const workbench::Step& step) {
            if (step.kind == workbench::StepKind::Event) {
                inspectorsOpened_ += step.text.starts_with(L"Inspectors NewInspector") ? 1 : 0;
                inspectorsClosed_ +=
                    step.text.starts_with(L"Inspector #") && step.text.find(L" Close ") != step.text.npos;
            }
        };
    }

    int Run() {
        while (!TimeIsUp()) {
            BeginSession(NextDraw());
            StartClient({});
            for (unsigned done = 0; done < kActionsOfSession && !TimeIsUp(); ++done) {
                Step();
            }
            EndSessionAndClient();
        }
        CheckUsage();
        TellLedger();
        return report_.Tell();
    }

private:
    struct OwnAction {
        const char* name;
        unsigned weight;
        void (Soak::*play)(const Draw&);
    };
    static std::span<const OwnAction> OwnActions() {
        static constexpr OwnAction kActions[] = {
            {"reconnect add-in", 3, &Soak::Reconnect},
            {"restart Outlook", 1, &Soak::RestartOutlook},
            {"start client", 14, &Soak::StartClient},
            {"quit or kill client", 3, &Soak::QuitOrKillClient},
            {"kill client within a message", 1, &Soak::KillClientWithinMessage},
            {"hang client", 1, &Soak::HangClient},
            {"hide client", 1, &Soak::HideClient},
            {"show client", 8, &Soak::ShowClient},
        };
        return kActions;
    }

    Draw NextDraw() { return {random_(), random_(), random_(), random_()}; }

    bool TimeIsUp() const {
        return report_.Seconds() >= static_cast<std::int64_t>(options_.seconds) ||
               (options_.actions != 0 && actions_ >= options_.actions);
    }

    void Step() {
        static const std::uint64_t total = Weight(HostActions()) + Weight(ClientOrders()) + Weight(OwnActions());
        const Draw draw = NextDraw();
        const auto pause = static_cast<unsigned>(random_() % kLongestPause);
        ++actions_;
        AnswerDialogs();
        Play(draw.kind % total, draw);
        workbench::PumpFor(pause);
        session_.CloseInspectors(kMostInspectors);
        hostCalls_ += session_.Host().CallCount();
        session_.Host().ResetCalls();
        ReadAll();
        if (report_.ProgressIsDue()) {
            Say("{:5} s  actions {}, sessions {}, presses {}, clients {}, violations {}", report_.Seconds(), actions_,
                sessions_, player_.Presses(), client_.starts, report_.Violations());
        }
    }

    void Play(std::uint64_t choice, const Draw& draw) {
        if (const Action* action = Choose(HostActions(), choice)) {
            Began(action->name);
            action->play(player_, draw);
        } else if (const ClientOrder* order = Choose(ClientOrders(), choice)) {
            Began(order->name);
            client_.Order(order->make(player_, draw));
        } else if (const OwnAction* own = Choose(OwnActions(), choice)) {
            Began(own->name);
            (this->*own->play)(draw);
        }
    }

    void Began(const char* name) {
        const std::string text = fmt::format("action {}, {}", actions_, name);
        watchdog_.Doing(text);
        if (options_.verbose) {
            SayLine(text);
        }
    }

    // The transcript first: a command that it shows was accepted before, so that the log, read later, shows that too.
    void ReadAll() {
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
    void Settle() {
        watchdog_.Doing("settling");
        const auto arrived = [this] {
            watchdog_.Beat();
            ReadAll();
            return commands_.Empty() && notifications_.Empty();
        };
        for (unsigned attempt = 0; attempt < kSettleAttempts; ++attempt) {
            player_.Press(workbench::Surface::Explorer, L"StartAudioMeetingMail");
            client_.Order(UnknownNotification(player_, {}));
            if (workbench::PumpUntil(arrived, kSettleTime)) {
                return;
            }
        }
    }

    void AnswerDialogs() {
        session_.AnswerDialogs([this] {
            constexpr int kCloseBox = 2, kSyncNow = 4, kLater = 5;
            constexpr int kChoice[] = {kCloseBox, kSyncNow, kLater, kLater};
            return kChoice[dialogRandom_() % 4];
        });
    }

    /// Plays another action of Outlook while a dialog of the add-in waits for its answer.
    void WhileDialogIsOpen() {
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

    void BeginSession(const Draw& draw) {
        watchdog_.Doing("starting Outlook");
        ++sessions_;
        AnswerDialogs();
        workbench::HostOptions options;
        options.language = player_.language;
        options.habits = HabitsFrom(draw.a);
        session_.Begin(options, draw.c % 2 == 0 ? L"Inbox" : L"Calendar");
        if (draw.b % 2 == 0) {
            session_.Host().AddStore(L"Archive",
                                     draw.b % 4 == 0 ? std::make_optional<std::wstring>(L"") : std::nullopt);
        }
        Connect(workbench::kStartup);
    }

    void Connect(workbench::ConnectMode mode) {
        if (const HRESULT status = session_.AddIn().Connect(mode); status != S_OK) {
            report_.Violation(fmt::format("OnConnection answers 0x{:08x}", static_cast<unsigned long>(status)));
        }
    }

    void EndSession() {
        watchdog_.Doing("ending Outlook");
        hostCalls_ += session_.Host().CallCount();
        hostObjects_ += session_.Host().Objects().Created();
        for (const std::string& problem : session_.End()) {
            report_.Violation(fmt::format("at action {}: {}", actions_, problem));
        }
    }

    void EndSessionAndClient() {
        StartClient({});
        const auto answers = [this] {
            watchdog_.Beat();
            ReadAll();
            return !client_.Hanging();
        };
        workbench::PumpUntil(answers, kShowLimit);
        client_.Order("show");
        session_.CloseInspectors(sessions_ % 2 == 0 ? 0 : SIZE_MAX); // else Outlook ends with its windows open
        Settle();
        EndSession();
        EndClient(false);
        CheckMessages();
        usages_.push_back(MeasureUsage());
    }

    void EndClient(bool kill) {
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

    /// Often with another language, which the add-in reads when it connects.
    void Reconnect(const Draw& draw) {
        constexpr long kLanguages[] = {1033, 2052, 1031, 1033};
        player_.language = session_.Host().language = kLanguages[draw.a % std::size(kLanguages)];
        ++reconnects_;
        session_.AddIn().Disconnect(draw.a % 4 == 0 ? workbench::kHostShutdown : workbench::kUserClosed);
        workbench::PumpFor(static_cast<unsigned>(draw.b % 60));
        Connect(static_cast<workbench::ConnectMode>(draw.c % 4));
    }

    void RestartOutlook(const Draw& draw) {
        EndSession();
        BeginSession(draw);
    }

    void StartClient(const Draw&) {
        if (!client_.Alive()) {
            watchdog_.Doing("starting the client");
            client_.Start();
        }
    }

    void QuitOrKillClient(const Draw& draw) {
        if (client_.Alive() && draw.a % 3 == 0) { // with a command underway
            player_.Press(workbench::Surface::Explorer, L"StartVideoMeetingCalendar");
            workbench::PumpFor(static_cast<unsigned>(draw.b % 30));
        }
        if (client_.Alive()) {
            EndClient(draw.a % 3 != 1);
        }
    }

    /// The messages that follow must still arrive.
    void KillClientWithinMessage(const Draw& draw) {
        if (client_.TakesOrders()) {
            client_.Order(fmt::format("die-midway 3000 {}", 1 + draw.a % 2));
            EndClient(true);
        }
    }

    void HangClient(const Draw& draw) {
        ReadAll();
        client_.Hang(draw.a % 2 == 0 ? kLongHang : kShortHang);
    }

    void HideClient(const Draw&) {
        if (client_.TakesCommands() && client_.Order("hide")) {
            ReadAll();
            commands_.ExcuseFirst();
        }
    }

    void ShowClient(const Draw&) { client_.Order("show"); }

    /// Reports the violations in the messages of this session.
    void CheckMessages() {
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

    /// From the middle to the end, so that the things that are made once and kept do not count. The add-in keeps the
    /// parts of messages without an end for good; they grow by doubling.
    void CheckUsage() {
        if (usages_.size() <= kFewestUsages) {
            Say("resources are not judged: too few runs of Outlook");
            return;
        }
        Usage kept{};
        kept[kPrivateBytes] = kept[kHeapBytes] = 2 * client_.tornBytes;
        const std::string grown = Growth(usages_[usages_.size() / 2], usages_.back(), kSlack, kept);
        if (!grown.empty()) {
            report_.Violation("leak: " + grown);
        }
    }

    void TellLedger() {
        const auto flow = [this](const char* what, const MessageFlow::Counts& counts) {
            report_.Row(what,
                        fmt::format("sent {}, delivered once {}, lost {}, duplicated {}, overtaken {}", counts.sent,
                                    counts.delivered, counts.lost, counts.duplicated, counts.overtaken));
            report_.Row(
                fmt::format("{}: lost at a kill, in a hang or on a busy machine / not written down at a kill", what),
                fmt::format("{} / {}", counts.lostExcused, counts.unrecorded));
        };
        report_.Row("seed", options_.seed);
        report_.Row("actions / runs of Outlook / reconnections",
                    fmt::format("{} / {} / {}", actions_, sessions_, reconnects_));
        report_.Row("inspectors opened / closed by their event",
                    fmt::format("{} / {}", inspectorsOpened_, inspectorsClosed_));
        report_.Row("presses / dialogs answered", fmt::format("{} / {}", player_.Presses(), session_.Dialogs()));
        report_.Row("calls on host objects / objects handed out", fmt::format("{} / {}", hostCalls_, hostObjects_));
        report_.Row("clients started / killed / hung",
                    fmt::format("{} / {} / {}", client_.starts, client_.kills, client_.hangs));
        flow("commands to the client", commands_.Count());
        report_.Row("commands that found no client", log_.refused);
        flow("notifications to the add-in", notifications_.Count());
        report_.Row("notifications without an end, kept by the add-in", client_.torn);
        report_.Row("at the start", Describe(usages_[0]));
        report_.Row("after the first run of Outlook", Describe(usages_[1]));
        report_.Row("in the middle", Describe(usages_[usages_.size() / 2]));
        report_.Row("at the end", Describe(usages_.back()));
    }

    const SoakOptions& options_;
    std::mt19937_64 random_;
    std::mt19937_64 dialogRandom_; // dialogs come when they come; their answers must not disturb the actions
    Report report_;
    Watchdog watchdog_{kAnswerLimit};
    MessageFlow commands_{"command"};
    MessageFlow notifications_{"notification"};
    AddinLog log_{commands_, notifications_};
    ClientSide client_{commands_, notifications_};
    Pulse pulse_;
    Session session_;
    Player player_{session_};
    std::vector<Usage> usages_{MeasureUsage()}; // at the start and the ends of sessions, when everything has gone
    bool nested_ = false;
    std::uint64_t actions_ = 0;
    std::uint64_t sessions_ = 0;
    std::uint64_t inspectorsOpened_ = 0;
    std::uint64_t inspectorsClosed_ = 0; // by their event; the others went with Outlook
    std::uint64_t reconnects_ = 0;
    std::uint64_t hostObjects_ = 0;
    std::uint64_t hostCalls_ = 0;
};

} // namespace

int RunSoak(SoakOptions options) {
    options.seconds =
        options.seconds != 0 ? options.seconds : static_cast<std::uint64_t>(std::ceil(options.minutes * 60));
    Say("seed {}, {} s", options.seed, options.seconds);
    ReportCrashes();
    return Soak(options).Run();
}

} // namespace verify
