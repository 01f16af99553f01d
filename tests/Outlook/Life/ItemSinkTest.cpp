#include "tests/Outlook/Life/SinkFixture.h"

#include <algorithm>

using testing::ElementsAre;
using testing::IsEmpty;
using workbench::ItemPtr;

namespace {

constexpr DISPID kWrite = 0xF002;
constexpr DISPID kSend = 0xF005;
constexpr DISPID kBeforeDelete = 0xFA75;

/// Memory that ends where an inaccessible page begins: reading past the last argument ends the program.
class GuardedArguments {
public:
    explicit GuardedArguments(const std::vector<VARIANT>& arguments) {
        constexpr size_t kPage = 4096;
        memory_ = static_cast<char*>(::VirtualAlloc(nullptr, 2 * kPage, MEM_RESERVE, PAGE_NOACCESS));
        ::VirtualAlloc(memory_, kPage, MEM_COMMIT, PAGE_READWRITE);
        auto* first = reinterpret_cast<VARIANT*>(memory_ + kPage) - arguments.size();
        std::copy(arguments.begin(), arguments.end(), first);
        params = {first, nullptr, static_cast<UINT>(arguments.size()), 0};
    }
    ~GuardedArguments() { ::VirtualFree(memory_, 0, MEM_RELEASE); }
    GuardedArguments(const GuardedArguments&) = delete;
    GuardedArguments& operator=(const GuardedArguments&) = delete;

    DISPPARAMS params = {};

private:
    char* memory_ = nullptr;
};

class ItemSink : public SinkFixture {
protected:
    ItemSink() : item_(host_->NewAppointment()) {
        item_->fields.comment = LR"({"nbm_flag":true})"; // a save of it is refused
        sink_ = MakeSink<ItemEventsSink>(addIn_, item_->Dispatch());
    }
    void TearDown() override {
        sink_->Unadvise();
        sink_ = nullptr;
        SinkFixture::TearDown();
    }

    static VARIANT Reference(VARIANT_BOOL* value) {
        VARIANT variant = {};
        variant.vt = VT_BYREF | VT_BOOL;
        variant.pboolVal = value;
        return variant;
    }
    /// Raises an event. @return the value of Cancel after it.
    VARIANT_BOOL Fire(DISPID event, VARIANT_BOOL before = VARIANT_FALSE) {
        VARIANT_BOOL cancel = before;
        GuardedArguments guarded({Reference(&cancel)});
        EXPECT_THAT(Invoke(sink_, event, &guarded.params), IsStatus(S_OK));
        return cancel;
    }

    ItemPtr item_;
    IEventSinkPtr sink_;
};

} // namespace

TEST_F(ItemSink, SkipsTheSaveThatFollowsASend) {
    EXPECT_EQ(Fire(kWrite), VARIANT_TRUE);
    EXPECT_EQ(Fire(kWrite), VARIANT_TRUE) << "each save is asked for";
    EXPECT_EQ(Fire(kSend), VARIANT_FALSE);
    EXPECT_EQ(Fire(kWrite), VARIANT_FALSE) << "the save inside the send";
    EXPECT_EQ(Fire(kWrite), VARIANT_TRUE);
    Fire(kSend);
    Fire(kSend);
    EXPECT_EQ(Fire(kWrite), VARIANT_FALSE);
    EXPECT_EQ(Fire(kWrite), VARIANT_TRUE);
    // A deletion has nothing to do with it.
    Fire(kSend);
    Fire(kBeforeDelete);
    EXPECT_EQ(Fire(kWrite), VARIANT_FALSE);
}

TEST_F(ItemSink, HandsTheStatusOfTheLastWriteToTheSend) {
    struct Step {
        DISPID event;
        long status; // of the item at that moment
        const wchar_t* logged;
    };
    const Step steps[] = {
        {kSend, 5, L"oldStatus: 5, newStatus: 0"}, // never written
        {kWrite, 5, L""},                          // skipped by the handler, but the status is read
        {kSend, 1, L"oldStatus: 1, newStatus: 5"},
        {kSend, 3, L"oldStatus: 3, newStatus: 5"},
        {kWrite, 7, L""},
        {kWrite, 1, L""}, // refused, and read all the same
        {kSend, 0, L"oldStatus: 0, newStatus: 1"},
    };
    for (const Step& step : steps) {
        SCOPED_TRACE(testing::Message() << std::hex << step.event << " with status " << step.status);
        LogCapture::Clear();
        item_->fields.meetingStatus = step.status;
        Fire(step.event);
        const auto lines = LogCapture::Of(L"AddIn::OnAppointmentItemSend");
        ASSERT_EQ(lines.size(), step.event == kSend ? 1u : 0u);
        if (step.event == kSend) {
            EXPECT_EQ(lines[0].text, L"isNembraMeeting: 1, isAlive: 0, " + std::wstring(step.logged));
            EXPECT_EQ(lines[0].level, LogLevel::Info);
        }
    }
    // A status that cannot be read leaves the last one.
    host_->FailMember(L"AppointmentItem.MeetingStatus", workbench::FailKind::Exception, E_FAIL);
    Fire(kWrite);
    host_->ClearFailures();
    LogCapture::Clear();
    Fire(kSend);
    EXPECT_EQ(LogCapture::Of(L"AddIn::OnAppointmentItemSend").at(0).text,
              L"isNembraMeeting: 1, isAlive: 0, oldStatus: 0, newStatus: 1");
}

TEST_F(ItemSink, WritesCancelOnlyWhereThereIsOne) {
    VARIANT_BOOL cancel = VARIANT_FALSE;
    VARIANT byValue = {};
    byValue.vt = VT_BOOL;
    VARIANT nowhere = Reference(nullptr);
    VARIANT number = {};
    long value = 0;
    number.vt = VT_BYREF | VT_I4;
    number.plVal = &value;
    struct Case {
        const char* name;
        std::vector<VARIANT> arguments; // as they lie, last first
        bool written;
    };
    const Case cases[] = {
        {"none", {}, false},
        {"by value", {byValue}, false},
        {"reference to nothing", {nowhere}, false},
        {"reference to a number", {number}, false},
        {"as it should be", {Reference(&cancel)}, true},
        {"with another argument before it", {Reference(&cancel), byValue}, true},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        cancel = VARIANT_FALSE;
        GuardedArguments guarded(each.arguments);
        EXPECT_THAT(Invoke(sink_, kWrite, &guarded.params), IsStatus(S_OK)) << "a failure would void the refusal";
        EXPECT_EQ(cancel, each.written ? VARIANT_TRUE : VARIANT_FALSE);
        EXPECT_EQ(value, 0);
        if (!each.arguments.empty()) {
            EXPECT_EQ(guarded.params.rgvarg[0].vt, each.arguments[0].vt);
        }
    }
    EXPECT_THAT(Invoke(sink_, kWrite, nullptr), IsStatus(S_OK));
    DISPPARAMS lying = {nullptr, nullptr, 1, 0};
    EXPECT_THAT(Invoke(sink_, kWrite, &lying), IsStatus(S_OK));
    // An approved save leaves Cancel as another listener has set it.
    item_->fields.comment.clear();
    EXPECT_EQ(Fire(kWrite, VARIANT_TRUE), VARIANT_TRUE);
    EXPECT_EQ(Fire(kWrite, VARIANT_FALSE), VARIANT_FALSE);
}

TEST_F(ItemSink, DeletionGoesAheadWithAnyArguments) {
    VARIANT_BOOL cancel = VARIANT_FALSE;
    VARIANT item = {};
    const workbench::DispatchPtr object = item_->Dispatch();
    item.vt = VT_DISPATCH;
    item.pdispVal = object;
    for (const std::vector<VARIANT>& arguments : std::vector<std::vector<VARIANT>>{
             {}, {Reference(&cancel)}, {item}, {Reference(&cancel), item}, {item, Reference(&cancel)}}) {
        SCOPED_TRACE(arguments.size());
        GuardedArguments guarded(arguments);
        LogCapture::Clear();
        EXPECT_THAT(Invoke(sink_, kBeforeDelete, &guarded.params), IsStatus(S_OK));
        EXPECT_EQ(cancel, VARIANT_FALSE);
        EXPECT_THAT(LogTexts(L"ItemEventsSink::Invoke"), ElementsAre(L"2 DispId: 64117"));
    }
    EXPECT_THAT(Invoke(sink_, kBeforeDelete, nullptr), IsStatus(S_OK));
}

TEST_F(ItemSink, WithoutAnAddInNothingIsAsked) {
    sink_->SetHandler(nullptr);
    host_->ResetCalls();
    EXPECT_EQ(Fire(kWrite), VARIANT_FALSE);
    EXPECT_EQ(Fire(kSend), VARIANT_FALSE);
    EXPECT_EQ(Fire(kBeforeDelete), VARIANT_FALSE);
    EXPECT_THAT(host_->Calls(), IsEmpty());
}
