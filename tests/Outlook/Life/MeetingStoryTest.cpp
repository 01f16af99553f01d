#include "tests/Outlook/Life/LifeFixture.h"

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;
using workbench::InspectorPtr;
using workbench::ItemPtr;
using workbench::kCloseDiscard;
using workbench::kClosePrompt;
using workbench::kCloseSave;

/// The life of an appointment that the client's notification has made, in the order of the user's actions.
class MeetingStory : public LifeFixture {
protected:
    void SetUp() override {
        Connect();
        StartFreshClient();
    }

    ItemPtr Scheduled() {
        Notify(R"({"notify":101,"confId":"c-77","subject":"Review","url":"https://m/77","contents":"Join",)"
               R"("startTime":1709629200,"endTime":1709631000})");
        const ItemPtr item = Host().Items().back();
        EXPECT_NE(item->OpenedInspector(), nullptr);
        EXPECT_EQ(ToNarrow(item->Subject()), "Review");
        EXPECT_FALSE(item->Saved());
        return item;
    }
    bool IsNew(const ItemPtr& item) { return ParseJson(ToNarrow(item->Comment()))["is_new_item"].asBool(); }
    ItemPtr OpenKnown(long status) {
        const ItemPtr item = OpenAppointment(true, kKnownMeeting);
        item->fields.meetingStatus = status;
        return item;
    }
};

TEST_F(MeetingStory, SavedAndClosedSendsItsFinalDetailsOnce) {
    for (const bool saveAtClose : {false, true}) {
        SCOPED_TRACE(saveAtClose ? "saved by the question at closing" : "saved before closing");
        const ItemPtr item = Scheduled();
        item->fields.subject = L"Review, moved";
        item->fields.startUtc = kPlannedStart + 1;
        Host().closeAnswer = kCloseSave;
        if (!saveAtClose) {
            EXPECT_TRUE(item->Save());
        }
        EXPECT_TRUE(IsNew(item));
        EXPECT_TRUE(item->Close(kClosePrompt));
        const std::vector<Json::Value> commands = TakeCommands();
        ASSERT_EQ(commands.size(), 1u);
        EXPECT_EQ(commands[0]["cmd"], 6);
        EXPECT_EQ(commands[0]["subject"], "Review, moved");
        EXPECT_EQ(commands[0]["confId"], "c-77");
        EXPECT_EQ(commands[0]["confOutlookId"], ToNarrow(item->EntryId()));
        EXPECT_EQ(commands[0]["startTime"], Json::Int64(kPlannedStartSeconds + 86400));
        EXPECT_EQ(commands[0]["endTime"], Json::Int64(kPlannedEndSeconds));
        EXPECT_FALSE(IsNew(item));
        Host().OpenInspector(item)->Close(kCloseSave);
        EXPECT_THAT(TakeCommands(), IsEmpty()) << "at the second close";
    }
}

TEST_F(MeetingStory, DiscardedCancelsTheMeeting) {
    for (const bool byQuestion : {false, true}) {
        SCOPED_TRACE(byQuestion);
        const ItemPtr item = Scheduled();
        Host().closeAnswer = kCloseDiscard;
        Host().ResetCalls();
        EXPECT_TRUE(item->Close(byQuestion ? kClosePrompt : kCloseDiscard));
        const std::vector<Json::Value> commands = TakeCommands();
        ASSERT_EQ(commands.size(), 1u);
        EXPECT_EQ(commands[0]["cmd"], 5);
        EXPECT_EQ(commands[0]["confId"], "c-77");
        EXPECT_EQ(commands[0]["confOutlookId"], "");
        EXPECT_EQ(Host().CountOf(L"FormDescription.put Comment"), 0u) << "the marker is left as it is";
    }
}

TEST_F(MeetingStory, ClosingThatTheUserCallsOffChangesNothing) {
    const ItemPtr item = Scheduled();
    Host().closeAnswer = kClosePrompt;
    EXPECT_FALSE(item->Close(kClosePrompt));
    EXPECT_THAT(TakeCommands(), IsEmpty());
    EXPECT_TRUE(IsNew(item));
    EXPECT_EQ(item->Events().SinkCount(), 1u);
    EXPECT_EQ(item->OpenedInspector()->Events().SinkCount(), 1u);
    Host().closeAnswer = kCloseSave;
    EXPECT_TRUE(item->Close(kClosePrompt));
    EXPECT_THAT(TakeCommandNumbers(), ElementsAre(6));
}

TEST_F(MeetingStory, NewInvitationIsToldOnceAlthoughItIsSaved) {
    const ItemPtr item = Scheduled();
    EXPECT_TRUE(item->Send());
    // The send itself tells nothing of a new item; the close that follows does.
    EXPECT_THAT(TakeCommandNumbers(), ElementsAre(6));
    EXPECT_THAT(
        LogLines(),
        Contains("Inf AddIn::OnAppointmentItemSend isNembraMeeting: 1, isAlive: 1, oldStatus: 1, newStatus: 0"));
    EXPECT_THAT(LogLines(), Not(Contains(StartsWith("Inf AddIn::OnAppointmentItemWrite"))))
        << "the save inside the send";
}

TEST_F(MeetingStory, UpdatesAndCancellationsArePassedOn) {
    struct Case {
        long status;
        bool savedBefore;
        int command;
    };
    // The status that counts is the one of the last save before the send.
    for (const Case& each : {Case{1, false, 6}, Case{1, true, 6}, Case{5, true, 5}, Case{5, false, 6}}) {
        SCOPED_TRACE(testing::Message() << each.status << (each.savedBefore ? " saved before" : ""));
        const ItemPtr item = OpenKnown(each.status);
        if (each.savedBefore) {
            EXPECT_TRUE(item->Save());
        }
        EXPECT_TRUE(item->Send());
        EXPECT_TRUE(item->Sent());
        EXPECT_THAT(TakeCommandNumbers(), ElementsAre(each.command));
        EXPECT_EQ(ToNarrow(item->Comment()), ToNarrow(kKnownMeeting));
    }
}

TEST_F(MeetingStory, DeletionGoesAheadAndRefreshesTheCancelButton) {
    struct Case {
        const wchar_t* comment;
        std::vector<int> commands; // of the close that follows
    };
    for (const Case& each : {Case{L"", {}}, Case{kKnownMeeting, {}}, Case{kNewMeeting, {6}}}) {
        SCOPED_TRACE(ToNarrow(each.comment));
        const ItemPtr item = OpenAppointment(true, each.comment);
        const size_t before = AppointmentRibbon().Invalidations().size();
        EXPECT_TRUE(item->Delete());
        EXPECT_TRUE(item->Deleted());
        const auto& invalidations = AppointmentRibbon().Invalidations();
        ASSERT_EQ(invalidations.size(), before + 1);
        EXPECT_EQ(ToNarrow(invalidations.back().controlId), "CancelMeeetingAppointment");
        EXPECT_EQ(TakeCommandNumbers(), each.commands);
    }
}

TEST_F(MeetingStory, OtherWindowsAndNoiseAreLeftAlone) {
    Host().habits().noiseEvents = true;
    const ItemPtr mail = Host().NewMail();
    const InspectorPtr inspector = Host().OpenInspector(mail);
    EXPECT_EQ(mail->Events().SinkCount(), 0u);
    EXPECT_EQ(inspector->Events().SinkCount(), 0u);
    EXPECT_EQ(Log().CountOf("Inf AddIn::OnNewInspector Not appointment item."), 1u);
    EXPECT_TRUE(mail->Send());
    EXPECT_THAT(TakeCommands(), IsEmpty());
    // The same story with every event that Outlook raises beside those that matter.
    const ItemPtr item = Scheduled();
    EXPECT_TRUE(item->Save());
    EXPECT_TRUE(item->Close(kClosePrompt));
    EXPECT_THAT(TakeCommandNumbers(), ElementsAre(6));
    EXPECT_THAT(HeldObjects(), Not(Contains(StartsWith(L"AppointmentItem"))));
    EXPECT_THAT(Host().AdvisedSinks(), testing::UnorderedElementsAreArray(RestingSinks()));
}

TEST_F(MeetingStory, WhenEverythingIsClosedOnlyTheHostsFrameIsHeld) {
    AppointmentRibbon(); // The add-in holds the IRibbonUI that it was given last.
    const std::vector<std::wstring> frame = HeldObjects();
    EXPECT_THAT(frame, Contains(StartsWith(L"Explorer #")));
    for (const auto mode : {kCloseSave, kCloseDiscard}) {
        const ItemPtr item = Scheduled();
        OpenAppointment(true, kKnownMeeting)->Send();
        OpenAppointment(true, kKnownMeeting)->Delete();
        const ItemPtr plain = OpenAppointment(false);
        Host().OpenExplorer()->Close();
        item->Close(mode);
        plain->Close(mode);
        TakeCommands();
    }
    ASSERT_THAT(Host().Inspectors(), IsEmpty());
    EXPECT_EQ(HeldObjects(), frame);
    EXPECT_THAT(Host().AdvisedSinks(), testing::UnorderedElementsAreArray(RestingSinks()));
}
