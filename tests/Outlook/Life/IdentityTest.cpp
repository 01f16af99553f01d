#include "tests/Outlook/Life/LifeFixture.h"

#include <algorithm>
#include <functional>

/// The same object through different pointers, the same item in different windows.
class Identity : public LifeFixture {
protected:
    /// As when they are new.
    void Announce(const InspectorPtr& inspector, const ExplorerPtr& explorer) {
        Host().InspectorsEvents().Fire(0xF001, {_variant_t(inspector->Dispatch().GetInterfacePtr())});
        Host().ExplorersEvents().Fire(0xF001, {_variant_t(explorer->Dispatch().GetInterfacePtr())});
    }

    void ExpectOneSinkUntilTheClose(const ItemPtr& item, const InspectorPtr& inspector, const ExplorerPtr& explorer) {
        EXPECT_EQ(inspector->Events().SinkCount(), 1u);
        EXPECT_EQ(item->Events().SinkCount(), 1u);
        EXPECT_EQ(explorer->Events().SinkCount(), 1u);
        inspector->CloseWithoutAsking();
        explorer->Close();
        EXPECT_THAT(Host().AdvisedSinks(), UnorderedElementsAreArray(RestingSinks()));
    }

    /// Runs the body under each way of handing out objects.
    void ForEachWay(const std::function<void()>& body) {
        for (const bool ownIdentity : {false, true}) {
            SCOPED_TRACE(ownIdentity ? "no common identity" : "one identity");
            ConnectWithClient({.habits = {.distinctPointers = true, .distinctIdentity = ownIdentity}});
            body();
            EXPECT_THAT(Host().AdvisedSinks(), UnorderedElementsAreArray(RestingSinks()));
            EXPECT_THAT(HeldObjects(), Not(Contains(StartsWith(L"Inspector #"))));
            EXPECT_THAT(HeldObjects(), Not(Contains(StartsWith(L"AppointmentItem"))));
        }
    }
};

TEST_F(Identity, LifeIsTheSameThroughDifferentPointers) {
    ForEachWay([&] {
        const ItemPtr first = OpenAppointment(false, kNewMeeting);
        const ItemPtr second = OpenAppointment(true, kKnownMeeting);
        const ItemPtr third = OpenAppointment(false, kNewMeeting);
        Host().OpenExplorer()->Close();
        EXPECT_TRUE(first->Save());
        EXPECT_TRUE(second->Send());
        EXPECT_TRUE(third->Close(kCloseDiscard));
        EXPECT_TRUE(first->Close(kClosePrompt));
        EXPECT_THAT(TakeCommandNumbers(), ElementsAre(6, 5, 6));
    });
}

TEST_F(Identity, OneItemInTwoWindowsIsAskedOnce) {
    for (const bool distinct : {false, true}) {
        SCOPED_TRACE(distinct);
        ConnectWithClient({.habits = {.distinctPointers = distinct}});
        HideClient();
        const ItemPtr item = OpenAppointment(true, kKnownMeeting);
        const InspectorPtr first = item->OpenedInspector();
        const InspectorPtr second = Host().MakeInspector(item);
        second->Display();
        EXPECT_EQ(item->Events().SinkCount(), 1u);
        DialogResponder user(std::vector<int>{5, 5, 5});
        EXPECT_TRUE(item->Save());
        EXPECT_EQ(user.Seen().size(), 1u);
        EXPECT_EQ(user.Last().owner, second->Window());
        first->Close(kClosePrompt);
        EXPECT_EQ(item->Events().SinkCount(), 1u) << "the other window still shows it";
        EXPECT_TRUE(item->Save());
        EXPECT_EQ(user.Seen().size(), 2u);
        second->Close(kClosePrompt);
        EXPECT_EQ(item->Events().SinkCount(), 0u);
        ShowClient();
    }
}

TEST_F(Identity, NewMeetingInTwoWindowsIsSettledAtTheFirstClose) {
    ConnectWithClient();
    const ItemPtr item = OpenAppointment(true, kNewMeeting);
    const InspectorPtr first = item->OpenedInspector();
    const InspectorPtr second = Host().MakeInspector(item);
    second->CloseWithoutAsking();
    EXPECT_THAT(TakeCommandNumbers(), ElementsAre(6));
    first->CloseWithoutAsking();
    EXPECT_THAT(TakeCommandNumbers(), IsEmpty());
    EXPECT_EQ(item->Events().SinkCount(), 0u);
}

TEST_F(Identity, ItemWhoseOtherWindowClosesWhileItsNewOneIsConnectedKeepsASink) {
    HostOptions options;
    options.habits.countQueryInterface = true; // so that the queries are told
    Connect(options);
    const ItemPtr item = OpenAppointment(true, kKnownMeeting);
    const InspectorPtr first = item->OpenedInspector();
    for (size_t step = 1;; ++step) { // it closes at each call of the connection in turn
        SCOPED_TRACE(step);
        const InspectorPtr closing = item->OpenedInspector();
        size_t seen = 0;
        Host().Observe([&](const workbench::Step& told) {
            if (told.kind == workbench::StepKind::Call && ++seen == step) {
                closing->CloseWithoutAsking();
            }
        });
        const InspectorPtr second = Host().MakeInspector(item);
        Host().Observe(nullptr);
        second->Display();
        EXPECT_EQ(item->Events().SinkCount(), 1u);
        if (!closing->Closed()) {
            EXPECT_GT(step, 5u);
            break;
        }
    }
    EXPECT_TRUE(first->Closed());
}

TEST_F(Identity, WindowAnnouncedTwiceHasOneSink) {
    Connect();
    const ItemPtr item = OpenAppointment(true, kKnownMeeting);
    const InspectorPtr inspector = item->OpenedInspector();
    const ExplorerPtr explorer = Host().ActiveExplorer();
    for (int i = 0; i < 2; ++i) {
        Announce(inspector, explorer);
    }
    ExpectOneSinkUntilTheClose(item, inspector, explorer);
}

TEST_F(Identity, WindowWhoseEventsCouldNotBeHadGetsThemWhenItIsAnnouncedAgain) {
    Connect({.habits = {.countQueryInterface = true}});
    for (const wchar_t* member :
         {L"Inspector.FindConnectionPoint", L"AppointmentItem.FindConnectionPoint", L"Explorer.FindConnectionPoint"}) {
        Host().FailMember(member, FailKind::Status, E_ACCESSDENIED);
    }
    const ItemPtr item = OpenAppointment(true, kKnownMeeting);
    const InspectorPtr inspector = item->OpenedInspector();
    const ExplorerPtr explorer = Host().OpenExplorer();
    Host().ClearFailures();
    ASSERT_EQ(inspector->Events().SinkCount() + item->Events().SinkCount() + explorer->Events().SinkCount(), 0u);
    Announce(inspector, explorer);
    ExpectOneSinkUntilTheClose(item, inspector, explorer);
}

TEST_F(Identity, CloseInsideAReleaseIsHandled) {
    ConnectWithClient({.habits = {.closeInsideRelease = true}});
    const ItemPtr saved = OpenAppointment(true, kNewMeeting);
    const ItemPtr discarded = OpenAppointment(false, kNewMeeting);
    saved->Close(kClosePrompt);
    discarded->Close(kCloseDiscard);
    EXPECT_EQ(Host().Inspectors().size(), 2u) << "held back";
    EXPECT_TRUE(PumpUntil([&] { return Host().Inspectors().empty(); }, kDeadline));
    std::vector<int> commands = TakeCommandNumbers();
    std::sort(commands.begin(), commands.end());
    EXPECT_THAT(commands, ElementsAre(5, 6));
    EXPECT_THAT(Host().AdvisedSinks(), UnorderedElementsAreArray(RestingSinks()));
}

TEST_F(Identity, ItemThatCannotBeReadAtTheCloseIsLetGo) {
    ConnectWithClient({.habits = {.noCurrentItemInClose = true}});
    const ItemPtr item = OpenAppointment(true, kNewMeeting);
    item->Close(kClosePrompt);
    EXPECT_THAT(TakeCommands(), IsEmpty());
    EXPECT_EQ(Log().CountOf("War AddIn::OnInspectorClose get cureent item fail: 0x"), 1u);
    EXPECT_THAT(Host().AdvisedSinks(), UnorderedElementsAreArray(RestingSinks()));
    EXPECT_EQ(ToNarrow(item->Comment()), ToNarrow(kNewMeeting));
}

TEST_F(Identity, WindowWhoseEventsCannotBeHadDoesNotHideTheNext) {
    ConnectWithClient({.habits = {.countQueryInterface = true}});
    for (const wchar_t* member :
         {L"Inspector.FindConnectionPoint", L"AppointmentItem.FindConnectionPoint", L"Explorer.FindConnectionPoint"}) {
        for (int i = 0; i < 20; ++i) { // The memory of what has gone is soon used again.
            Host().FailMember(member, FailKind::Status, E_ACCESSDENIED);
            OpenAppointment(true)->OpenedInspector()->CloseWithoutAsking();
            Host().OpenExplorer()->Close();
            Host().ClearFailures();
            const ItemPtr item = OpenAppointment(true, kKnownMeeting);
            const ExplorerPtr explorer = Host().OpenExplorer();
            ASSERT_EQ(item->OpenedInspector()->Events().SinkCount(), 1u) << ToNarrow(member) << i;
            ASSERT_EQ(item->Events().SinkCount(), 1u) << ToNarrow(member) << i;
            ASSERT_EQ(explorer->Events().SinkCount(), 1u) << ToNarrow(member) << i;
            item->OpenedInspector()->CloseWithoutAsking();
            explorer->Close();
        }
    }
}
