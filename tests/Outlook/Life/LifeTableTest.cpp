#include "tests/Outlook/Life/LifeFixture.h"

#include <sstream>

namespace {

enum class Event { Write, Send, Close, Delete };
enum class IsNew { Absent, False, True };
enum class Flag { NoComment, PlainText, Absent, False, True };

struct Case {
    bool connected;
    long status;
    Flag flag;
    IsNew isNew;
    bool saved;
    Event event;
    int answer;         // to the synchronisation question, should it come
    bool writtenBefore; // for Send: whether the host saved the item, in that status, while it was open
};

std::ostream& operator<<(std::ostream& out, const Case& each) {
    constexpr const char* kFlags[] = {"no comment", "plain text", "no nbm_flag", "nbm_flag false", "nbm_flag true"};
    constexpr const char* kNew[] = {"", ", is_new_item false", ", is_new_item true"};
    constexpr const char* kEvents[] = {"write", "send", "close", "delete"};
    return out << kEvents[static_cast<int>(each.event)] << (each.connected ? " connected" : " absent") << ", status "
               << each.status << ", " << kFlags[static_cast<int>(each.flag)] << kNew[static_cast<int>(each.isNew)]
               << (each.saved ? ", saved" : ", unsaved") << ", answer " << each.answer
               << (each.writtenBefore ? ", written before" : "");
}

std::vector<Case> AllCases(bool connected) {
    std::vector<Case> cases;
    const auto add = [&](Case each) {
        const std::vector<int> answers = each.event == Event::Write ? std::vector<int>{4, 5, 2} : std::vector<int>{2};
        for (const int answer : answers) {
            each.answer = answer;
            cases.push_back(each);
            if (each.event == Event::Send) {
                each.writtenBefore = true;
                cases.push_back(each);
            }
        }
    };
    for (const long status : {0, 1, 3, 5, 7}) {
        for (const bool saved : {false, true}) {
            for (const Event event : {Event::Write, Event::Send, Event::Close, Event::Delete}) {
                add({connected, status, Flag::NoComment, IsNew::Absent, saved, event, 0, false});
                add({connected, status, Flag::PlainText, IsNew::Absent, saved, event, 0, false});
                for (const Flag flag : {Flag::Absent, Flag::False, Flag::True}) {
                    for (const IsNew isNew : {IsNew::Absent, IsNew::False, IsNew::True}) {
                        add({connected, status, flag, isNew, saved, event, 0, false});
                    }
                }
            }
        }
    }
    return cases;
}

std::wstring CommentOf(const Case& each, const std::wstring& confId) {
    if (each.flag == Flag::NoComment) {
        return {};
    }
    if (each.flag == Flag::PlainText) {
        return L"call the customer back";
    }
    std::wstring text = L"{\"conf_id\":\"" + confId + L"\",\"theirs\":[1,\"two\"]";
    if (each.flag != Flag::Absent) {
        text += each.flag == Flag::True ? L",\"nbm_flag\":true" : L",\"nbm_flag\":false";
    }
    if (each.isNew != IsNew::Absent) {
        text += each.isNew == IsNew::True ? L",\"is_new_item\":true" : L",\"is_new_item\":false";
    }
    return text + L"}";
}

struct Outcome {
    int command = -1; // what goes out, or would with a client there; -1: nothing
    std::vector<std::string> dialogs;
    bool cancelled = false;
    bool settled = false; // the marker's is_new_item goes to false
    bool invalidated = false;
};

/// The rules, told anew: presence of the flag makes an item ours; a new one is settled when its window closes.
Outcome Expected(const Case& each) {
    constexpr int kPlain = 0, kCancel = 5, kModify = 6;
    const bool ours = each.flag == Flag::False || each.flag == Flag::True;
    const bool isNew = each.isNew == IsNew::True;
    Outcome outcome;
    switch (each.event) {
    case Event::Write:
        if (ours && !each.connected) {
            outcome.dialogs.push_back("sync");
            outcome.cancelled = each.answer != 5;
            outcome.command = each.answer == 4 ? kPlain : -1;
        }
        break;
    case Event::Send: {
        const long statusAtWrite = each.writtenBefore ? each.status : 0;
        if (ours && each.connected) {
            outcome.command = statusAtWrite == 5 ? kCancel : isNew ? -1 : kModify;
        }
        break;
    }
    case Event::Close:
        outcome.settled = isNew && each.saved;
        if (isNew && ours) {
            outcome.command = each.saved ? kModify : kCancel;
        }
        break;
    case Event::Delete:
        outcome.invalidated = true;
        break;
    }
    if (!each.connected && outcome.command > kPlain) {
        outcome.dialogs.push_back("log in");
    }
    return outcome;
}

} // namespace

class LifeTable : public LifeFixture {
protected:
    struct Sent {
        size_t number; // of the case
        int command;
        std::string entryId;
        POINT centre;
    };

    void RunAll(const std::vector<Case>& cases);
    void Run(const Case& each, size_t number);
    void ExpectMarker(const ItemPtr& item, const std::wstring& before, bool settled);
    size_t Invalidations();

    std::vector<Sent> expectedCommands_;
};

size_t LifeTable::Invalidations() {
    const auto& seen = AppointmentRibbon().Invalidations();
    for (const workbench::Invalidation& each : seen) {
        EXPECT_EQ(ToNarrow(each.controlId), "CancelMeeetingAppointment");
    }
    return seen.size();
}

void LifeTable::ExpectMarker(const ItemPtr& item, const std::wstring& before, bool settled) {
    if (!settled) {
        EXPECT_EQ(ToNarrow(item->Comment()), ToNarrow(before));
        return;
    }
    Json::Value expected = ParseJson(ToNarrow(before));
    expected["is_new_item"] = false;
    EXPECT_EQ(ParseJson(ToNarrow(item->Comment())), expected);
}

void LifeTable::Run(const Case& each, size_t number) {
    const std::wstring comment = CommentOf(each, L"c-" + std::to_wstring(number));
    const ItemPtr item = OpenAppointment(each.saved, comment);
    const InspectorPtr inspector = item->OpenedInspector();
    const HWND window = inspector->Window();
    const POINT centre = CentreOf(window);
    item->fields.meetingStatus = each.status;
    if (each.writtenBefore) { // as a foreign item, so that the question does not come up
        item->fields.comment.clear();
        EXPECT_FALSE(item->Events().FireCancelable(workbench::event::kWrite).cancelled);
        item->fields.comment = comment;
    }
    const size_t invalidations = Invalidations();
    const Outcome expected = Expected(each);

    DialogResponder user(std::vector<int>{each.answer, IDCANCEL, IDCANCEL});
    workbench::CancelOutcome event;
    switch (each.event) {
    case Event::Write:
        event = item->Events().FireCancelable(workbench::event::kWrite);
        break;
    case Event::Send:
        event = item->Events().FireCancelable(workbench::event::kSend);
        break;
    case Event::Close:
        inspector->CloseWithoutAsking();
        break;
    case Event::Delete:
        event = item->Events().FireCancelable(workbench::event::kBeforeDelete,
                                              {_variant_t(item->Dispatch().GetInterfacePtr())});
        break;
    }
    if (each.event != Event::Close) {
        EXPECT_THAT(event.results, ElementsAre(S_OK));
    }
    EXPECT_EQ(event.cancelled, expected.cancelled);
    EXPECT_EQ(DialogKinds(user.Seen()), expected.dialogs);
    for (const DialogSeen& dialog : user.Seen()) {
        EXPECT_EQ(dialog.owner, window);
        EXPECT_TRUE(dialog.ownerDisabled);
    }
    ExpectMarker(item, comment, expected.settled);
    EXPECT_EQ(Invalidations() - invalidations, expected.invalidated ? 1u : 0u);
    if (expected.command >= 0) {
        expectedCommands_.push_back({number, expected.command, ToNarrow(item->EntryId()), centre});
    }
    item->fields.comment.clear(); // The events that follow do not belong to the case.
    inspector->CloseWithoutAsking();
}

void LifeTable::RunAll(const std::vector<Case>& cases) {
    size_t number = 0;
    for (const Case& each : cases) {
        std::ostringstream name;
        name << "case " << number << ": " << each;
        SCOPED_TRACE(name.str());
        Run(each, number++);
        if (HasFailure()) {
            return; // The rest would only repeat it.
        }
    }
}

TEST_F(LifeTable, WithTheClientThere) {
    ConnectWithClient();
    const std::vector<Case> cases = AllCases(true);
    RunAll(cases);
    const std::vector<Json::Value> commands = TakeCommands();
    ASSERT_EQ(commands.size(), expectedCommands_.size());
    EXPECT_GE(commands.size(), 100u);
    for (size_t i = 0; i < commands.size(); ++i) {
        const Sent& expected = expectedCommands_[i];
        SCOPED_TRACE(testing::Message() << cases[expected.number]);
        const bool modify = expected.command == 6;
        EXPECT_EQ(commands[i]["cmd"], expected.command);
        EXPECT_EQ(commands[i]["confId"], "c-" + std::to_string(expected.number));
        EXPECT_EQ(commands[i]["confOutlookId"], expected.entryId);
        EXPECT_EQ(commands[i]["subject"], modify ? kPlannedSubjectUtf8 : "");
        EXPECT_EQ(commands[i]["startTime"], Json::Int64(modify ? kPlannedStartSeconds : 0));
        EXPECT_EQ(commands[i]["endTime"], Json::Int64(modify ? kPlannedEndSeconds : 0));
        EXPECT_EQ(commands[i]["centerX"], Json::Int(expected.centre.x));
        EXPECT_EQ(commands[i]["centerY"], Json::Int(expected.centre.y));
    }
}

TEST_F(LifeTable, WithoutAClient) {
    ConnectWithClient();
    HideClient();
    RunAll(AllCases(false));
    // Each command that could not go out tried to launch the client, which nobody has registered here.
    EXPECT_EQ(Log().CountOf("Err Meeting::OnAction ShellExecute fail: "), expectedCommands_.size());
    EXPECT_GE(expectedCommands_.size(), 50u);
    ShowClient();
    EXPECT_THAT(TakeCommandNumbers(), IsEmpty()) << "a command that went nowhere came later";
}
