#include "tests/Outlook/Life/LifeFixture.h"

/// Events while a handler waits for the user or the host, and the release of the add-in meanwhile.
class Reentry : public LifeFixture {
protected:
    /// Saves the item; `meanwhile` runs while the synchronisation question is open.
    bool SaveWhile(const ItemPtr& item, int answer, const std::function<void()>& meanwhile) {
        DialogResponder user(answer, {{}, item->OpenedInspector()->Window()});
        bool ran = false;
        user.whileOpen = [&](const DialogSeen&) {
            ran = true;
            meanwhile();
        };
        const bool saved = item->Save();
        EXPECT_TRUE(ran);
        EXPECT_EQ(user.Seen().size(), 1u);
        return saved;
    }
};

TEST_F(Reentry, WindowsComeAndGoWhileTheUserIsAsked) {
    Connect();
    const ItemPtr asked = OpenAppointment(true, kKnownMeeting);
    const ItemPtr bystander = OpenAppointment(true, kKnownMeeting);
    const ItemPtr doomed = OpenAppointment(true, kKnownMeeting);
    ItemPtr opened;
    ExplorerPtr explorer;
    EXPECT_TRUE(SaveWhile(asked, 5, [&] {
        bystander->Close(kCloseDiscard);
        EXPECT_TRUE(doomed->Delete());
        opened = OpenAppointment(true, kKnownMeeting);
        explorer = Host().OpenExplorer();
        Host().OpenExplorer()->Close();
        EXPECT_EQ(opened->Events().SinkCount(), 1u);
    }));
    EXPECT_EQ(asked->Events().SinkCount(), 1u);
    EXPECT_EQ(explorer->Events().SinkCount(), 1u);
    EXPECT_FALSE(SaveWhile(opened, IDCANCEL, [] {}));
    for (const ItemPtr& item : {asked, opened}) {
        item->OpenedInspector()->CloseWithoutAsking();
    }
    EXPECT_THAT(Host().AdvisedSinks(), UnorderedElementsAreArray(RestingSinks()));
}

TEST_F(Reentry, TheAskedItemItselfMayGo) {
    ConnectWithClient();
    for (const int answer : {4, 5}) {
        for (const bool deleted : {false, true}) {
            SCOPED_TRACE(testing::Message() << answer << (deleted ? " deleted" : " closed"));
            HideClient();
            ItemPtr item = OpenAppointment(true, kKnownMeeting);
            SaveWhile(item, answer, [&] {
                if (deleted) {
                    item->Delete();
                } else {
                    item->OpenedInspector()->CloseWithoutAsking();
                }
                EXPECT_EQ(item->Events().SinkCount(), 0u);
            });
            ShowClient();
            EXPECT_THAT(TakeCommands(), IsEmpty());
            EXPECT_THAT(Host().AdvisedSinks(), UnorderedElementsAreArray(RestingSinks()));
        }
    }
}

TEST_F(Reentry, QuestionsMayNest) {
    Connect();
    const ItemPtr outer = OpenAppointment(true, kKnownMeeting);
    const ItemPtr inner = OpenAppointment(true, kKnownMeeting);
    EXPECT_TRUE(SaveWhile(outer, 5, [&] {
        EXPECT_FALSE(SaveWhile(inner, IDCANCEL, [&] { inner->OpenedInspector()->CloseWithoutAsking(); }));
        EXPECT_EQ(outer->Events().SinkCount(), 1u);
    }));
    EXPECT_THAT(FindDialogs(), IsEmpty());
}

TEST_F(Reentry, CloseThatAsksToLogInLetsOthersClose) {
    Connect();
    const ItemPtr first = OpenAppointment(true, kNewMeeting);
    const ItemPtr second = OpenAppointment(true, kKnownMeeting);
    DialogResponder user(IDCANCEL); // to the log-in dialog of the first one's modification
    user.whileOpen = [&](const DialogSeen& dialog) {
        EXPECT_EQ(DialogKind(dialog), "log in");
        second->OpenedInspector()->CloseWithoutAsking();
        first->OpenedInspector()->CloseWithoutAsking(); // is closing already
    };
    first->OpenedInspector()->CloseWithoutAsking();
    EXPECT_TRUE(user.Done());
    EXPECT_EQ(ParseJson(ToNarrow(first->Comment()))["is_new_item"], false);
    EXPECT_THAT(Host().AdvisedSinks(), UnorderedElementsAreArray(RestingSinks()));
}

TEST_F(Reentry, DisconnectionWithOpenWindowsLeavesNothingBehind) {
    for (const bool fast : {false, true}) {
        SCOPED_TRACE(fast ? "without notice" : "in order");
        Connect({.habits = {.fastShutdown = fast}});
        const ItemPtr item = OpenAppointment(true, kNewMeeting);
        OpenAppointment(false, kNewMeeting);
        Host().OpenExplorer();
        if (!fast) {
            EXPECT_THAT(AddIn().Disconnect(workbench::kUserClosed), IsStatus(S_OK));
            // New windows are not followed any more, those that are open still are until the object goes.
            const ItemPtr late = OpenAppointment(true, kKnownMeeting);
            EXPECT_EQ(late->Events().SinkCount(), 0u);
            EXPECT_EQ(item->Events().SinkCount(), 1u);
        }
        EXPECT_EQ(AddIn().Exit(), 0);
        EXPECT_THAT(Host().AdvisedSinks(), IsEmpty());
        EXPECT_THAT(HeldObjects(), IsEmpty());
        EXPECT_TRUE(item->Save()) << "nobody listens any more";
        Host().Shutdown();
    }
}

TEST_F(Reentry, ConnectedAgainItFollowsAsBefore) {
    ConnectWithClient();
    const ItemPtr before = OpenAppointment(true, kNewMeeting);
    EXPECT_THAT(AddIn().Disconnect(workbench::kUserClosed), IsStatus(S_OK));
    EXPECT_THAT(AddIn().Connect(workbench::kExternal), IsStatus(S_OK));
    EXPECT_EQ(Host().ActiveExplorer()->Events().SinkCount(), 1u);
    EXPECT_EQ(Host().InspectorsEvents().SinkCount(), 1u);
    const ItemPtr after = OpenAppointment(true, kNewMeeting);
    before->OpenedInspector()->CloseWithoutAsking();
    after->OpenedInspector()->CloseWithoutAsking();
    EXPECT_THAT(TakeCommandNumbers(), ElementsAre(6, 6));
}

TEST_F(Reentry, AddInMayGoWhileADialogIsOpen) {
    for (const int answer : {4, 5}) {
        SCOPED_TRACE(answer);
        Connect();
        const ItemPtr item = OpenAppointment(true, kKnownMeeting);
        OpenAppointment(true, kNewMeeting);
        long references = -2;
        EXPECT_EQ(SaveWhile(item, answer, [&] { references = AddIn().Exit(); }), answer == 5);
        EXPECT_GT(references, 0) << "the handler that waits keeps the add-in";
        EXPECT_THAT(Host().AdvisedSinks(), IsEmpty()) << "it ended with the handler";
        EXPECT_THAT(HeldObjects(), IsEmpty());
    }
}

TEST_F(Reentry, WindowsThatCloseWhileTheAddInEndsAreNotHandled) {
    Connect({.habits = {.closeInsideRelease = true}});
    const ItemPtr first = OpenAppointment(true, kNewMeeting);
    const ItemPtr second = OpenAppointment(true, kNewMeeting);
    first->Close(kClosePrompt);
    second->Close(kClosePrompt);
    // The add-in's last references to the one window bring its close, and that closes the other.
    Host().Observe([&](const workbench::Step& step) {
        if (step.kind == workbench::StepKind::Event && step.text.find(L"Close -> ") != std::wstring::npos) {
            for (const ItemPtr& item : {first, second}) {
                if (const InspectorPtr inspector = item->OpenedInspector()) {
                    inspector->CloseWithoutAsking();
                }
            }
        }
    });
    EXPECT_EQ(AddIn().Exit(), 0);
    Host().Observe(nullptr);
    EXPECT_THAT(Host().Inspectors(), IsEmpty());
    EXPECT_THAT(Host().AdvisedSinks(), IsEmpty());
    EXPECT_EQ(Log().CountOf("Inf Meeting::OnAction Data: "), 0u) << "an add-in that ends does nothing more";
}
