#include "tests/Outlook/AddIns/AddInFixture.h"

#include <algorithm>
#include <functional>

using workbench::DialogResponder;
using workbench::FailKind;
using workbench::HostOptions;
using workbench::ItemPtr;
using workbench::PumpFor;
using workbench::PumpUntil;

namespace {

constexpr HRESULT kForced = static_cast<HRESULT>(0x80040155);
constexpr size_t kMostCalls = 300; // far more than any step makes
constexpr const wchar_t* kOurs = LR"({"nbm_flag":true,"conf_id":"c-1"})";

struct Way {
    const char* name;
    FailKind kind;
    bool countsQueries;
};

/// A failed QueryInterface is the same whatever the kind, so only one way counts them.
const Way kWays[] = {
    {"status, queries too", FailKind::Status, true},
    {"no result", FailKind::NullResult, false},
    {"exception", FailKind::Exception, false},
};

} // namespace

/// Makes every single call of a step on the host fail in turn. Nothing crashes, everything is given back (the host's
/// end sees to that), and the add-in goes on working.
class FailSweep : public AddInFixture {
protected:
    /// Repeats `prepare` and `act` with the first, the second … call of `act` failing, until there is none that far.
    void Sweep(size_t leastCalls, const std::function<void()>& prepare, const std::function<void()>& act) {
        SweepCalls(leastCalls, prepare, act);
        ExpectWorking();
    }

    void SweepCalls(size_t leastCalls, const std::function<void()>& prepare, const std::function<void()>& act) {
        for (const Way& way : kWays) {
            SCOPED_TRACE(way.name);
            size_t number = 1;
            for (; number < kMostCalls; ++number) {
                SCOPED_TRACE(number);
                prepare();
                Host().habits().countQueryInterface = way.countsQueries;
                Host().ResetCalls();
                Host().FailCall(number, way.kind, kForced);
                act();
                const size_t calls = Host().CallCount();
                Host().ClearFailures();
                Host().habits().countQueryInterface = false;
                if (calls < number) {
                    break; // nothing failed this time
                }
            }
            EXPECT_GT(number, leastCalls) << "the step has become shorter than it was: does it still happen?";
            EXPECT_LT(number, kMostCalls);
        }
    }

    /// A command arrives at the client, and a notification in the message window.
    void ExpectWorking() {
        ExplorerRibbon().Press(L"StartAudioMeetingMail");
        const auto arrived = [this] {
            const auto messages = Client().Messages();
            return !messages.empty() && ParseJson(messages.back())["cmd"] == 3;
        };
        EXPECT_TRUE(PumpUntil(arrived, kDeadline));
        Notify(R"({"notify":101,"subject":"still there"})"); // into the appointment scheduled last, or a new one
        const auto items = Host().Appointments();
        EXPECT_TRUE(std::any_of(items.begin(), items.end(),
                                [](const ItemPtr& item) { return item->Subject() == L"still there"; }));
    }

    void CloseInspectors() {
        const auto open = Host().Inspectors();
        for (const auto& inspector : open) {
            inspector->CloseWithoutAsking();
        }
    }

    size_t ended_ = 0;

    void ConnectToClient() {
        Connect();
        StartClient();
        Notify(R"({"notify":103})"); // the two have met by now
    }
};

TEST_F(FailSweep, Connecting) {
    StartClient();
    const auto load = [this] {
        HostOptions options;
        options.habits.ribbonByHand = true;
        Load(options);
        Host().OpenExplorer();
    };
    const auto connect = [this] {
        AddIn().Connect();
        // Either all of it works or nothing does.
        const bool hasWindow = ::FindWindowW(L"NBM_OUTLOOK_ADDIN_MSGWND", nullptr) != nullptr;
        Host().ClearFailures();
        const size_t calls = Host().CallCount();
        EXPECT_THAT(ExplorerRibbon().Press(L"StartMeetingMail"), IsStatus(hasWindow ? S_OK : E_FAIL));
        PumpFor(0);
        EXPECT_GE(Host().CallCount(), calls);
        ended_ = calls;
    };
    for (const Way& way : kWays) {
        SCOPED_TRACE(way.name);
        size_t number = 1;
        for (; number < kMostCalls; ++number) {
            SCOPED_TRACE(number);
            load();
            Host().habits().countQueryInterface = way.countsQueries;
            Host().FailCall(number, way.kind, kForced);
            Host().ResetCalls();
            connect();
            if (ended_ < number) {
                break;
            }
        }
        EXPECT_GT(number, 5u);
        EXPECT_LT(number, kMostCalls);
    }
    ExpectWorking();
}

TEST_F(FailSweep, SchedulingFromTheExplorer) {
    ConnectToClient();
    Sweep(
        2, [] {},
        [this] {
            ExplorerRibbon().Press(L"BookMeetingMail");
            PumpFor(0);
        });
}

TEST_F(FailSweep, SchedulingFromAnAppointment) {
    ConnectToClient();
    Sweep(
        20,
        [this] {
            CloseInspectors();
            OpenAppointment(false);
        },
        [this] {
            AppointmentRibbon().Press(L"BookMeetingAppointment");
            PumpFor(0);
        });
}

TEST_F(FailSweep, Cancelling) {
    ConnectToClient();
    Sweep(
        8,
        [this] {
            CloseInspectors();
            OpenAppointment(true, kOurs);
        },
        [this] {
            AppointmentRibbon().Press(L"CancelMeeetingAppointment");
            PumpFor(0);
        });
}

TEST_F(FailSweep, ChangingAndSchedulingASavedAppointment) {
    ConnectToClient();
    for (const wchar_t* control : {L"ModifyMeeetingAppointment", L"BookMeetingAppointment"}) {
        SCOPED_TRACE(ToNarrow(control));
        Sweep(
            8,
            [this] {
                CloseInspectors();
                OpenAppointment(true, kOurs);
            },
            [&] {
                AppointmentRibbon().Press(control);
                PumpFor(0);
            });
    }
}

TEST_F(FailSweep, PressingWhileTheClientIsAway) {
    Connect();
    DialogResponder user(std::vector<int>(6 * kMostCalls, IDCANCEL));
    const auto press = [](workbench::Ribbon& ribbon, const wchar_t* control) {
        ribbon.Press(control);
        PumpFor(0);
        EXPECT_TRUE(PumpUntil([] { return workbench::FindDialogs().empty(); }, kDeadline));
    };
    SweepCalls(
        2, [] {}, [&] { press(ExplorerRibbon(), L"StartMeetingMail"); });
    SweepCalls(
        8,
        [this] {
            CloseInspectors();
            OpenAppointment(true, kOurs);
        },
        [&] { press(AppointmentRibbon(), L"CancelMeeetingAppointment"); });
    EXPECT_GT(user.Seen().size(), 0u);
    StartClient();
    Notify(R"({"notify":103})");
    ExpectWorking();
}

TEST_F(FailSweep, AskingForLabelVisibilityAndEnablement) {
    ConnectToClient();
    OpenAppointment(true, kOurs);
    Sweep(
        15, [] {},
        [this] {
            AppointmentRibbon().AskLabel(L"CancelMeeetingAppointment");
            AppointmentRibbon().AskVisible(L"CancelMeeetingAppointment");
            AppointmentRibbon().AskEnabled(L"CancelMeeetingAppointment");
        });
}

TEST_F(FailSweep, AScheduledMeetingInANewAppointment) {
    ConnectToClient();
    Sweep(
        15, [this] { CloseInspectors(); },
        [this] { Notify(R"({"notify":101,"subject":"s","url":"u","confId":"c","contents":"b"})"); });
}

TEST_F(FailSweep, AScheduledMeetingInTheSchedulingAppointment) {
    ConnectToClient();
    Sweep(
        15,
        [this] {
            CloseInspectors();
            OpenAppointment(false);
            AppointmentRibbon().Press(L"BookMeetingAppointment");
            PumpFor(0);
        },
        [this] { Notify(R"({"notify":101,"subject":"s","url":"u","confId":"c","contents":"b"})"); });
}

TEST_F(FailSweep, AChangedMeeting) {
    ConnectToClient();
    DialogResponder user(std::vector<int>(3 * kMostCalls, IDCANCEL));
    const ItemPtr item = OpenAppointment(true, kOurs);
    Sweep(
        10, [] {},
        [&] {
            Notify(R"({"notify":200,"subject":"s","confOutlookId":")" + ToNarrow(item->EntryId()) + "\"}");
            EXPECT_TRUE(PumpUntil([] { return workbench::FindDialogs().empty(); }, kDeadline));
        });
}

TEST_F(FailSweep, AnUpdateOfTheSchedulingAppointment) {
    ConnectToClient();
    DialogResponder user(std::vector<int>(3 * kMostCalls, IDCANCEL));
    Sweep(
        1,
        [this] {
            CloseInspectors();
            OpenAppointment(false);
            AppointmentRibbon().Press(L"BookMeetingAppointment");
            PumpFor(0);
        },
        [this] {
            Notify(R"({"notify":102,"code":0})");
            EXPECT_TRUE(PumpUntil([] { return workbench::FindDialogs().empty(); }, kDeadline));
        });
    EXPECT_GT(user.Seen().size(), 0u);
}
