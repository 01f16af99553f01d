#include "tests/Outlook/AddIns/AddInFixture.h"

#include <algorithm>

namespace {

constexpr const wchar_t* kOurs = LR"({"nbm_flag":true,"conf_id":"old"})";
constexpr const char* kScheduled =
    R"({"notify":101,"subject":"Weekly \u4f1a","url":"https://meet.example/7","confId":"c-7","contents":"Join\nus",)"
    R"("startTime":1709629200,"endTime":1709632800,"confOutlookId":"","code":0,"message":"ok"})";

constexpr DATE DateOf(int64_t seconds) {
    return static_cast<double>(seconds) / 86400.0 + 25569.0;
}

} // namespace

class Notification : public AddInFixture {
protected:
    static void ExpectFields(const ItemPtr& item) {
        EXPECT_EQ(ToNarrow(item->Subject()), "Weekly 会");
        EXPECT_EQ(item->Location(), L"https://meet.example/7");
        EXPECT_EQ(item->Body(), L"Join\nus");
        EXPECT_EQ(item->fields.startUtc, DateOf(1709629200));
        EXPECT_EQ(item->fields.endUtc, DateOf(1709632800));
    }
    static void ExpectScheduled(const ItemPtr& item) {
        ExpectFields(item);
        EXPECT_EQ(item->MeetingStatus(), workbench::kMeeting);
        // A comment that was not saved is lost, as the window closes without saving.
        EXPECT_EQ(ParseJson(ToNarrow(item->Comment())),
                  ParseJson(R"({"nbm_flag":true,"is_new_item":true,"conf_id":"c-7"})"));
        EXPECT_TRUE(item->Displayed());
        EXPECT_EQ(item->SaveCount(), item->EntryId().empty() ? 0u : 1u) << "the user saves it";
    }
    /// Sends the notification while a user waits to close its dialog. @return the dialogs that came.
    std::vector<DialogSeen> NotifyAndAnswer(const std::string& json) {
        DialogResponder user(IDCANCEL);
        Notify(json);
        PumpFor(30);
        EXPECT_THAT(FindDialogs(), IsEmpty());
        return user.Seen();
    }
    void ExpectUpdatedDialog(const std::vector<DialogSeen>& seen, HWND owner) {
        ASSERT_EQ(seen.size(), 1u);
        ExpectDialog(seen[0], owner);
        EXPECT_THAT(seen[0].VisibleButtons(), IsEmpty());
        EXPECT_THAT(ToNarrow(seen[0].texts.at(0)),
                    HasSubstr(Host().language == 2052 ? "已更新" : "invitation updated"));
    }
};

TEST_F(Notification, AScheduledMeetingBecomesANewAppointment) {
    ConnectWithClient();
    const ItemPtr open = OpenAppointment(false); // no button was pressed in it
    Notify(kScheduled);
    ASSERT_EQ(Host().Appointments().size(), 2u);
    const ItemPtr item = Host().Appointments().back();
    ExpectScheduled(item);
    EXPECT_EQ(item->DisplayCount(), 1u);
    EXPECT_EQ(open->Subject(), kPlannedSubject);
    EXPECT_TRUE(open->Displayed());
    EXPECT_THAT(LogLines(), Contains("Inf AddIn::NotifyCallback Type: 101"));
}

TEST_F(Notification, AMeetingScheduledInANewAppointmentFillsIt) {
    ConnectWithClient();
    const ItemPtr item = OpenAppointment(false, LR"({"theirs":{"deep":[1,2]},"conf_id":5})");
    const InspectorPtr first = item->OpenedInspector();
    AppointmentRibbon().Press(L"BookMeetingAppointment");
    NextCommand();
    item->fields.subject = L"typed meanwhile";
    Notify(kScheduled);
    ASSERT_EQ(Host().Appointments().size(), 1u);
    EXPECT_TRUE(first->Closed());
    ExpectScheduled(item);
    EXPECT_NE(item->OpenedInspector(), first);
    const auto calls = Host().Calls();
    EXPECT_EQ(std::count_if(calls.begin(), calls.end(),
                            [](const auto& call) {
                                return call.object == L"Inspector" && call.member == L"Close" && call.arguments == L"1";
                            }),
              1)
        << "closed with olDiscard";
    // The inspector is forgotten: the next meeting gets an appointment of its own.
    Notify(kScheduled);
    EXPECT_EQ(Host().Appointments().size(), 2u);
    EXPECT_EQ(item->DisplayCount(), 2u);
}

TEST_F(Notification, AMeetingScheduledInASavedAppointmentGetsOneOfItsOwn) {
    ConnectWithClient();
    const ItemPtr saved = OpenAppointment(true, kOurs);
    AppointmentRibbon().Press(L"BookMeetingAppointment");
    NextCommand();
    Notify(kScheduled);
    ASSERT_EQ(Host().Appointments().size(), 2u);
    ExpectScheduled(Host().Appointments().back());
    EXPECT_EQ(saved->Subject(), kPlannedSubject);
    EXPECT_EQ(saved->Comment(), kOurs);
    EXPECT_TRUE(saved->Displayed());
}

TEST_F(Notification, FailuresOfTheHostStopOnlyWhatDependsOnThem) {
    ConnectWithClient();
    Host().FailMember(L"Application.CreateItem", FailKind::Exception, kForced);
    Notify(kScheduled);
    EXPECT_THAT(LogLines(), AllOf(Contains("Err AddIn::CreateMeetingItem create item fail: 0x80040155"),
                                  Contains("Err AddIn::NotifyProc Create meeting item fail: 0x80040155")));
    EXPECT_THAT(Host().Appointments(), IsEmpty());
    Host().ClearFailures();
    for (const wchar_t* setter : {L"AppointmentItem.put Subject", L"AppointmentItem.put MeetingStatus",
                                  L"AppointmentItem.put StartUTC", L"AppointmentItem.FormDescription"}) {
        Host().FailMember(setter, FailKind::Exception, kForced);
    }
    Notify(kScheduled);
    ASSERT_EQ(Host().Appointments().size(), 1u);
    const ItemPtr item = Host().Appointments().back();
    EXPECT_EQ(item->Location(), L"https://meet.example/7");
    EXPECT_EQ(item->fields.endUtc, DateOf(1709632800));
    EXPECT_EQ(item->Comment(), L"");
    EXPECT_TRUE(item->Displayed());
    // Without its item the scheduling inspector still closes, and a new appointment takes the meeting.
    Host().ClearFailures();
    const InspectorPtr inspector = OpenAppointment(false)->OpenedInspector();
    AppointmentRibbon().Press(L"BookMeetingAppointment");
    NextCommand();
    Host().FailMember(L"Inspector.CurrentItem", FailKind::Exception, kForced);
    Notify(kScheduled);
    EXPECT_TRUE(inspector->Closed());
    ASSERT_EQ(Host().Appointments().size(), 3u);
    ExpectScheduled(Host().Appointments().back());
}

TEST_F(Notification, AModifyResultIsShownOnlyWhileASchedulingWindowIsRemembered) {
    for (const long language : {2052, 1033}) {
        ConnectWithClient({.language = language});
        EXPECT_THAT(NotifyAndAnswer(R"({"notify":102,"code":0})"), IsEmpty());
        EXPECT_THAT(Log().NewLines(), Not(Contains(StartsWith("Err AddIn::NotifyProc"))));
        EXPECT_THAT(NotifyAndAnswer(R"({"notify":102,"code":-5})"), IsEmpty());
        EXPECT_THAT(Log().NewLines(), Contains("Err AddIn::NotifyProc Modify meeting fail: -5"));
        OpenAppointment(true, kOurs);
        AppointmentRibbon().Press(L"ModifyMeeetingAppointment");
        NextCommand();
        ExpectUpdatedDialog(NotifyAndAnswer(R"({"notify":102,"code":404})"), Host().ActiveExplorer()->Window());
        EXPECT_THAT(Log().NewLines(), Contains("Err AddIn::NotifyProc Modify meeting fail: 404"));
        ExpectUpdatedDialog(NotifyAndAnswer(R"({"notify":102})"), Host().ActiveExplorer()->Window());

        EXPECT_THAT(NotifyAndAnswer(R"({"notify":103,"code":0})"), IsEmpty());
        EXPECT_THAT(Log().NewLines(), Not(Contains(StartsWith("Err AddIn::NotifyProc"))));
        EXPECT_THAT(NotifyAndAnswer(R"({"notify":103,"code":7})"), IsEmpty());
        EXPECT_THAT(Log().NewLines(), Contains("Err AddIn::NotifyProc Cancel meeting fail: 7"));
    }
}

class ChangedMeeting : public Notification {
protected:
    static std::string Changed(const std::wstring& entryId) {
        std::string json = kScheduled;
        json.replace(json.find("101"), 3, "200");
        return json.replace(json.find(R"("confOutlookId":"")") + 17, 0, ToNarrow(entryId));
    }
};

TEST_F(ChangedMeeting, UpdatesTheAppointmentThatAnyStoreKnows) {
    for (const long language : {2052, 1033}) {
        ConnectWithClient({.language = language});
        const ItemPtr item = OpenAppointment(true, kOurs);
        item->fields.meetingStatus = workbench::kMeetingReceived;
        // The item's store comes third, after one without an id and one that does not know it.
        auto& stores = Host().Stores();
        Host().AddStore(L"Without id", L"");
        Host().AddStore(L"Archive");
        std::rotate(stores.begin(), stores.begin() + 1, stores.end());
        Host().ResetCalls();
        const auto seen = NotifyAndAnswer(Changed(item->EntryId()));
        ExpectUpdatedDialog(seen, item->OpenedInspector()->Window());
        EXPECT_EQ(Host().CountOf(L"NameSpace.GetItemFromID"), 2u);
        ExpectFields(item);
        EXPECT_EQ(item->MeetingStatus(), workbench::kMeetingReceived);
        EXPECT_EQ(item->Comment(), kOurs);
        EXPECT_FALSE(item->Saved());
        EXPECT_EQ(item->SaveCount(), 1u);
    }
}

TEST_F(ChangedMeeting, AnAppointmentThatIsNotOpenIsNotFollowedAfterwards) {
    ConnectWithClient();
    std::vector<ItemPtr> items;
    for (int i = 0; i < 10; ++i) {
        items.push_back(OpenAppointment(true, kOurs));
        items.back()->Close(workbench::kCloseDiscard);
    }
    const auto sinks = Host().AdvisedSinks();
    const auto held = Host().Objects().Outstanding();
    DialogResponder user(std::vector<int>(20, IDCANCEL));
    for (int i = 0; i < 20; ++i) {
        Notify(Changed(items[i % items.size()]->EntryId()));
    }
    EXPECT_TRUE(PumpUntil([&] { return user.Done() && FindDialogs().empty(); }, kDeadline));
    PumpFor(30);
    EXPECT_EQ(Host().AdvisedSinks(), sinks);
    EXPECT_EQ(Host().Objects().Outstanding(), held);
    EXPECT_EQ(ToNarrow(items[0]->Subject()), "Weekly 会");
    EXPECT_FALSE(items[0]->Displayed());
    EXPECT_EQ(items[0]->Display()->Events().SinkCount(), 1u) << "opened by the user, it is followed again";
}

TEST_F(ChangedMeeting, AWindowThatTheUserOpensMeanwhileIsFollowed) {
    ConnectWithClient();
    const ItemPtr item = OpenAppointment(true, kOurs);
    item->Close(workbench::kCloseDiscard);
    DialogResponder user(IDCANCEL);
    user.whileOpen = [&](const DialogSeen&) { item->Display(); };
    Notify(Changed(item->EntryId()));
    EXPECT_TRUE(PumpUntil([&] { return user.Done() && FindDialogs().empty(); }, kDeadline));
    PumpFor(30);
    EXPECT_EQ(item->Events().SinkCount(), 1u);
    EXPECT_EQ(item->OpenedInspector()->Events().SinkCount(), 1u);
}

TEST_F(ChangedMeeting, WhatNoStoreKnowsChangesNothing) {
    struct Case {
        const char* name;
        const wchar_t* failing; // made to fail; null: none
        FailKind kind;
        bool known; // whether the entry id is the item's
        const char* line;
    };
    const Case cases[] = {
        {"unknown id", nullptr, FailKind::Status, false, "not found."},
        {"session fails", L"Application.Session", FailKind::Exception, true, "get session fail: 0x80040155"},
        {"no session", L"Application.Session", FailKind::NullResult, true, "get session fail: 0x0"},
        {"folders fail", L"NameSpace.Folders", FailKind::Exception, true, "get current item fail: 0x80040155"},
        {"no folders", L"NameSpace.Folders", FailKind::NullResult, true, "get current item fail: 0x0"},
        {"count fails", L"Folders.Count", FailKind::Exception, true, "not found."},
        {"folder fails", L"Folders.Item", FailKind::Exception, true, "not found."},
        {"no folder", L"Folders.Item", FailKind::NullResult, true, "not found."},
        {"store id fails", L"Folder.StoreID", FailKind::Exception, true, "not found."},
        {"no item", L"NameSpace.GetItemFromID", FailKind::NullResult, true, "not found."},
    };
    ConnectWithClient();
    const ItemPtr item = OpenAppointment(true, kOurs);
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        if (each.failing != nullptr) {
            Host().FailMember(each.failing, each.kind, kForced);
        }
        Log().NewLines();
        EXPECT_THAT(NotifyAndAnswer(Changed(each.known ? item->EntryId() : L"00FF")), IsEmpty());
        EXPECT_THAT(Log().NewLines(), Contains("Err AddIn::GetAppointItemFromEntryId " + std::string(each.line)));
        EXPECT_EQ(item->Subject(), kPlannedSubject);
        Host().ClearFailures();
    }
    EXPECT_THAT(NotifyAndAnswer(R"({"notify":200})"), IsEmpty()) << "an empty id belongs to nothing";
    // A host that does not take the index' type: the lookup ends as if there were no store.
    Host().habits().refuseVtInt = true;
    EXPECT_THAT(NotifyAndAnswer(Changed(item->EntryId())), IsEmpty());
    Host().habits().refuseVtInt = false;
    // A mail with that id is no appointment.
    const ItemPtr mail = Host().NewMail();
    ASSERT_TRUE(mail->Save());
    EXPECT_THAT(NotifyAndAnswer(Changed(mail->EntryId())), IsEmpty());
    EXPECT_EQ(mail->Subject(), L"");
}

TEST_F(Notification, OneThatArrivesDuringADialogIsHandledInItsLoop) {
    ConnectWithClient();
    OpenAppointment(true, kOurs);
    AppointmentRibbon().Press(L"ModifyMeeetingAppointment");
    NextCommand();
    DialogResponder user(std::vector<int>{IDCANCEL, IDCANCEL});
    size_t depth = 0;
    user.whileOpen = [&](const DialogSeen&) {
        if (++depth == 1) {
            Notify(kScheduled); // takes the remembered inspector and closes its window
            EXPECT_EQ(FindDialogs().size(), 1u);
        }
    };
    Notify(R"({"notify":102})");
    EXPECT_TRUE(PumpUntil([&] { return depth == 1 && FindDialogs().empty(); }, kDeadline));
    EXPECT_EQ(Host().Appointments().size(), 1u);
    ExpectScheduled(Host().Appointments().front());
}
