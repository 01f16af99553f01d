#include "tests/Outlook/Life/LifeFixture.h"

/// The life of an appointment that the client's notification has made, in the order of the user's actions.
class MeetingStory : public LifeFixture {
protected:
    void SetUp() override { ConnectWithClient(); }

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
    EXPECT_THAT(Host().AdvisedSinks(), UnorderedElementsAreArray(RestingSinks()));
}
