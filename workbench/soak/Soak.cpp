#include "workbench/soak/Soak.h"

#include "workbench/host/Pump.h"

#include <algorithm>
#include <cstdio>
#include <numeric>

namespace soak {
namespace {

// Generous: a machine with too much to do is no fault of the add-in.
constexpr std::chrono::seconds kAnswerLimit{150};
constexpr std::chrono::seconds kProgressEvery{5};
constexpr std::uint64_t kActionsOfSession = 150;
constexpr std::chrono::seconds kSettleLimit{120};
constexpr unsigned kSettleAttempt = 5000; // ms
constexpr unsigned kLongestPause = 40;    // ms between two actions; the channel takes a message every 20
constexpr std::size_t kAnswers = 256;     // of one responder
constexpr std::size_t kViolationsKept = 50;

} // namespace

Soak::Soak(const Options& options)
    : options_(options),
      random_(options.seed),
      dialogRandom_(options.seed ^ 0x9E3779B97F4A7C15),
      watchdog_(kAnswerLimit) {}

Soak::~Soak() = default;

const std::vector<Soak::Action>& Soak::Actions() {
    static const std::vector<Action> actions = {
        {"new appointment", 10, &Soak::NewAppointment},
        {"new mail", 3, &Soak::NewMail},
        {"open item", 8, &Soak::OpenItem},
        {"edit item", 10, &Soak::EditItem},
        {"save item", 10, &Soak::SaveItem},
        {"send item", 5, &Soak::SendItem},
        {"delete item", 4, &Soak::DeleteItem},
        {"close inspector", 12, &Soak::CloseInspector},
        {"second window", 2, &Soak::SecondWindow},
        {"open explorer", 3, &Soak::OpenExplorer},
        {"close explorer", 3, &Soak::CloseExplorer},
        {"switch folder", 3, &Soak::SwitchFolder},
        {"press in explorer", 14, &Soak::PressInExplorer},
        {"press in appointment", 22, &Soak::PressInAppointment},
        {"press without a window", 2, &Soak::PressWithoutWindow},
        {"ask ribbon", 4, &Soak::AskRibbon},
        {"activate window", 3, &Soak::ActivateWindow},
        {"fire strange event", 4, &Soak::FireStrangeEvent},
        {"update add-ins", 1, &Soak::UpdateAddIns},
        {"change language", 1, &Soak::ChangeLanguage},
        {"reconnect add-in", 2, &Soak::Reconnect},
        {"restart Outlook", 1, &Soak::RestartOutlook},
        {"notify", 20, &Soak::Notify},
        {"notify unknown type", 4, &Soak::NotifyUnknown},
        {"send malformed text", 4, &Soak::SendMalformed},
        {"send raw data", 3, &Soak::SendRaw},
        {"send bulk", 2, &Soak::SendBulk},
        {"tear message", 1, &Soak::TearMessage},
        {"change answers", 2, &Soak::ChangeAnswers},
        {"start client", 14, &Soak::StartClientAgain},
        {"quit client", 1, &Soak::QuitClient},
        {"kill client", 2, &Soak::KillClient},
        {"kill client within a message", 1, &Soak::KillClientMidway},
        {"hang client", 1, &Soak::HangClient},
        {"hide client", 1, &Soak::HideClient},
        {"show client", 8, &Soak::ShowClient},
        {"delay answers", 2, &Soak::DelayAnswers},
    };
    return actions;
}

bool Soak::Run() {
    BeginSession({random_(), random_(), random_(), random_()});
    StartClient();
    while (!TimeIsUp()) {
        if (actionsOfSession_ == kActionsOfSession) {
            EndSessionAndClient();
            BeginSession({random_(), random_(), random_(), random_()});
            StartClient();
        }
        Step();
    }
    EndSessionAndClient();
    CheckUsage();
    TellLedger();
    return violations_.empty();
}

bool Soak::TimeIsUp() const {
    return Clock::now() - start_ >= std::chrono::seconds(options_.seconds) ||
           (options_.actions != 0 && actions_ >= options_.actions);
}

void Soak::Step() {
    const Draw draw{random_(), random_(), random_(), random_()};
    const unsigned pause = static_cast<unsigned>(random_() % kLongestPause);
    static const unsigned total = std::accumulate(Actions().begin(), Actions().end(), 0U,
                                                  [](unsigned sum, const Action& one) { return sum + one.weight; });
    std::uint64_t at = draw.kind % total;
    const Action* action = Actions().data();
    for (; at >= action->weight; ++action) {
        at -= action->weight;
    }
    ++actions_;
    ++actionsOfSession_;
    const std::string what = "action " + std::to_string(actions_) + ", " + action->name;
    watchdog_.Doing(what);
    if (options_.verbose) {
        std::printf("%s\n", what.c_str());
        std::fflush(stdout);
    }
    RenewResponder();
    const auto begin = Clock::now();
    (this->*action->carryOut)(draw);
    const auto took = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - begin);
    if (took > longestAction_) {
        longestAction_ = took;
        longestName_ = what;
    }
    Pump(pause);
    LimitInspectors();
    hostCalls_ += host_->CallCount();
    host_->ResetCalls();
    ReadAll();
    Progress();
}

void Soak::Pump(unsigned milliseconds) {
    workbench::PumpFor(milliseconds);
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
        Press(workbench::Surface::Explorer, L"StartAudioMeetingMail", {});
        NotifyUnknown({});
    } while (!workbench::PumpUntil(arrived, kSettleAttempt) && Clock::now() < end);
}

void Soak::RenewResponder() {
    if (responder_ && responder_->Seen().size() < kAnswers / 2) {
        return;
    }
    constexpr int kCloseBox = 2, kSyncNow = 4, kLater = 5;
    std::vector<int> answers;
    for (std::size_t i = 0; i < kAnswers; ++i) {
        constexpr int kChoice[] = {kCloseBox, kSyncNow, kLater, kLater};
        answers.push_back(kChoice[dialogRandom_() % 4]);
    }
    responder_.reset();
    responder_ = std::make_unique<workbench::DialogResponder>(std::move(answers));
    responder_->whileOpen = [this](const workbench::DialogSeen&) { WhileDialogIsOpen(); };
}

/// Plays other actions while a dialog of the add-in waits for its answer.
void Soak::WhileDialogIsOpen() {
    ++dialogs_;
    watchdog_.Beat();
    const std::uint64_t choice = dialogRandom_() % 16;
    const Draw draw{0, dialogRandom_(), dialogRandom_(), dialogRandom_()};
    if (nested_ || !addIn_) {
        return;
    }
    nested_ = true;
    switch (choice) {
    case 0:
        PressInExplorer(draw);
        break;
    case 1:
        Notify(draw);
        break;
    case 2:
        OpenItem(draw);
        break;
    case 3:
        OpenExplorer(draw);
        break;
    case 4:
        AskRibbon(draw);
        break;
    default:
        break;
    }
    nested_ = false;
}

void Soak::Progress() {
    if (Clock::now() < nextProgress_) {
        return;
    }
    nextProgress_ = Clock::now() + kProgressEvery;
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - start_).count();
    std::printf("%5lld s  actions %llu, sessions %llu, inspectors %llu, presses %llu, dialogs %llu, commands %zu/%zu, "
                "notifications %zu/%zu, clients %zu, violations %zu\n",
                static_cast<long long>(seconds), static_cast<unsigned long long>(actions_),
                static_cast<unsigned long long>(sessions_), static_cast<unsigned long long>(inspectorsOpened_),
                static_cast<unsigned long long>(presses_), static_cast<unsigned long long>(dialogs_),
                commands_.Delivered(), commands_.SentCount(), notifications_.Delivered(), notifications_.SentCount(),
                client_.starts, violations_.size());
    std::fflush(stdout);
}

void Soak::Violation(const std::string& what) {
    if (violations_.size() < kViolationsKept) {
        violations_.push_back(what);
    }
    std::printf("VIOLATION at action %llu: %s\n", static_cast<unsigned long long>(actions_), what.c_str());
    std::fflush(stdout);
}

} // namespace soak
