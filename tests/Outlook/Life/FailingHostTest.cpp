#include "tests/Outlook/Life/LifeFixture.h"

using testing::UnorderedElementsAreArray;
using workbench::DialogResponder;
using workbench::FailKind;
using workbench::HostOptions;
using workbench::InspectorPtr;
using workbench::ItemPtr;

namespace {

constexpr HRESULT kForced = static_cast<HRESULT>(0x80040155);

enum class Event { Open, CloseSaved, CloseUnsaved, Write, Send, SendCancellation, Delete };

struct Scene {
    const char* name;
    Event event;
    bool connected;
    const wchar_t* comment;
    size_t leastCalls; // that the handler makes on the host, so that the sweep sweeps something
};

} // namespace

/// Every call that a handler makes on the host fails once, in each way in which it can.
class FailingHost : public LifeFixture {
protected:
    /// One event with its nth call failing. @return whether there was such a call.
    bool Run(const Scene& scene, size_t call, FailKind kind);
    /// Checks the log lines of the failure.
    void ExpectLog(const workbench::CallRecord& failed, const Scene& scene, FailKind kind);
};

bool FailingHost::Run(const Scene& scene, size_t call, FailKind kind) {
    const bool saved = scene.event != Event::CloseUnsaved;
    const ItemPtr item = Host().NewAppointment();
    item->fields.comment = scene.comment;
    if (saved) {
        item->Save();
    }
    if (scene.event != Event::Open) {
        Host().OpenInspector(item);
    }
    if (scene.event == Event::SendCancellation) { // the status of the last write counts
        item->fields.meetingStatus = workbench::kMeetingCanceled;
        item->Events().FireCancelable(workbench::event::kWrite);
    }
    Log().NewLines();
    Host().ResetCalls();
    Host().FailCall(call, kind, kForced);
    DialogResponder user(std::vector<int>{4, IDCANCEL, IDCANCEL});
    switch (scene.event) {
    case Event::Open:
        Host().OpenInspector(item);
        break;
    case Event::CloseSaved:
    case Event::CloseUnsaved:
        item->OpenedInspector()->CloseWithoutAsking();
        break;
    case Event::Write:
        item->Events().FireCancelable(workbench::event::kWrite);
        break;
    case Event::Send:
    case Event::SendCancellation:
        item->Events().FireCancelable(workbench::event::kSend);
        break;
    case Event::Delete:
        item->Events().FireCancelable(workbench::event::kBeforeDelete,
                                      {_variant_t(item->Dispatch().GetInterfacePtr())});
        break;
    }
    Host().ClearFailures();
    const std::vector<workbench::CallRecord> calls = Host().Calls();
    const bool reached = calls.size() >= call && calls[call - 1].forced;
    if (reached) {
        SCOPED_TRACE(ToNarrow(calls[call - 1].Text()));
        ExpectLog(calls[call - 1], scene, kind);
    }
    item->fields.comment.clear();
    if (const InspectorPtr inspector = item->OpenedInspector()) {
        inspector->CloseWithoutAsking();
    }
    return reached;
}

void FailingHost::ExpectLog(const workbench::CallRecord& failed, const Scene& scene, FailKind kind) {
    if (kind == FailKind::NullResult) {
        return; // A success without a value; no line is due.
    }
    const std::vector<std::string> lines = Log().NewLines();
    const auto has = [&](const std::string& line) {
        return std::find(lines.begin(), lines.end(), line) != lines.end();
    };
    if (failed.member == L"CurrentItem") {
        const bool open = scene.event == Event::Open;
        EXPECT_TRUE(has(std::string("War AddIn::") + (open ? "OnNewInspector" : "OnInspectorClose") +
                        " get cureent item fail: 0x80040155"));
    } else if (failed.member == L"EndUTC") {
        EXPECT_TRUE(has("Err AddIn::GetMeetingInfo get_EndUTC fail 0x80040155"));
    } else if (failed.member == L"MeetingStatus" && !(scene.event == Event::Write && failed.number > 1)) {
        EXPECT_TRUE(has("Err AddIn::GetMeetingInfo get_MeetingStatus fail: 0x80040155"));
    }
}

TEST_F(FailingHost, EveryCallOfEveryEventMayFail) {
    const Scene scenes[] = {
        {"open", Event::Open, true, kKnownMeeting, 1},
        {"close saved", Event::CloseSaved, true, kNewMeeting, 15},
        {"close unsaved", Event::CloseUnsaved, true, kNewMeeting, 14},
        {"write connected", Event::Write, true, kKnownMeeting, 9},
        {"send update", Event::Send, true, kKnownMeeting, 18},
        {"send new", Event::Send, true, kNewMeeting, 9},
        {"send cancellation", Event::SendCancellation, true, kKnownMeeting, 17},
        {"delete", Event::Delete, true, kKnownMeeting, 1},
        {"write absent", Event::Write, false, kKnownMeeting, 19},
        {"close saved, absent", Event::CloseSaved, false, kNewMeeting, 15},
    };
    HostOptions options;
    options.habits.showWindows = false;
    Connect(options);
    StartFreshClient();
    OpenAppointment(false)->OpenedInspector()->CloseWithoutAsking(); // loads the ribbon
    for (const Scene& scene : scenes) {
        if (!scene.connected) {
            HideClient();
        }
        for (const FailKind kind : {FailKind::Status, FailKind::NullResult, FailKind::Exception}) {
            size_t call = 1;
            for (; call < 100; ++call) {
                SCOPED_TRACE(testing::Message()
                             << scene.name << ", call " << call << ", kind " << static_cast<int>(kind));
                if (!Run(scene, call, kind)) {
                    break;
                }
                ASSERT_THAT(Host().AdvisedSinks(), UnorderedElementsAreArray(RestingSinks()));
            }
            EXPECT_GT(call, scene.leastCalls) << scene.name << ": fewer calls than the event needs";
        }
        if (scene.connected) {
            TakeCommands();
        } else {
            ShowClient();
        }
    }
}

TEST_F(FailingHost, AnItemThatCannotBeReadIsNotTakenForDiscarded) {
    Connect();
    StartFreshClient();
    struct Case {
        const wchar_t* member;
        std::vector<int> commands;
    };
    const Case cases[] = {
        {L"AppointmentItem.Saved", {}}, // saved or not is unknown, and a cancelled meeting does not come back
        {L"AppointmentItem.FormDescription", {}}, {L"FormDescription.Comment", {}},
        {L"FormDescription.put Comment", {6}},    {L"AppointmentItem.Subject", {6}},
        {L"AppointmentItem.GetInspector", {6}},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(ToNarrow(each.member));
        const ItemPtr item = OpenAppointment(true, kNewMeeting);
        Host().FailMember(each.member, FailKind::Exception, kForced);
        item->OpenedInspector()->CloseWithoutAsking();
        Host().ClearFailures();
        EXPECT_EQ(TakeCommandNumbers(), each.commands);
        EXPECT_THAT(Host().AdvisedSinks(), UnorderedElementsAreArray(RestingSinks()));
    }
}

TEST_F(FailingHost, QueriesOfTheHostsObjectsMayFailToo) {
    HostOptions options;
    options.habits.showWindows = false;
    options.habits.countQueryInterface = true;
    for (const Event event : {Event::Open, Event::CloseSaved, Event::Write, Event::Send}) {
        const Scene scene{"", event, true, kNewMeeting, 0};
        bool reached = true;
        for (size_t call = 1; reached && call < 200; call += 20) { // A failed query may leave a sink until the end.
            Connect(options);
            StartFreshClient();
            OpenAppointment(false)->OpenedInspector()->CloseWithoutAsking();
            for (size_t i = call; reached && i < call + 20; ++i) {
                SCOPED_TRACE(testing::Message() << "event " << static_cast<int>(event) << ", call " << i);
                reached = Run(scene, i, FailKind::Status);
            }
            TakeCommands();
            EndHost();
        }
        EXPECT_FALSE(reached);
    }
}
