#include "tests/workbench/FakeAddIn.h"
#include "tests/workbench/HostFixture.h"
#include "tests/workbench/LateBinding.h"

#include <gmock/gmock.h>

#include <thread>

namespace workbench {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class HostObjects : public HostFixture {};

_variant_t Omitted() {
    _variant_t value;
    value.vt = VT_ERROR;
    value.scode = DISP_E_PARAMNOTFOUND;
    return value;
}

TEST_F(HostObjects, AppointmentIsReadAndWrittenByName) {
    const ItemPtr item = host_.NewAppointment();
    const DispatchPtr object = item->Dispatch();

    EXPECT_EQ(Put(object, L"Subject", L"Review").status, S_OK);
    EXPECT_EQ(Put(object, L"MeetingStatus", _variant_t(1L)).status, S_OK);
    EXPECT_EQ(Put(object, L"StartUTC", _variant_t(45000.5, VT_DATE)).status, S_OK);
    const DispatchPtr form = Get(object, L"FormDescription").Object();
    EXPECT_EQ(Put(form, L"Comment", L"{}").status, S_OK);

    EXPECT_EQ(item->Subject(), L"Review");
    EXPECT_EQ(item->MeetingStatus(), kMeeting);
    EXPECT_EQ(item->fields.startUtc, 45000.5);
    EXPECT_EQ(item->Comment(), L"{}");
    EXPECT_EQ(Get(object, L"subject").Text(), L"Review"); // names have no case
    EXPECT_EQ(Get(object, L"StartUTC").value.vt, VT_DATE);
    EXPECT_EQ(Get(object, L"Saved").value.boolVal, VARIANT_FALSE);
    EXPECT_EQ(Get(object, L"EntryID").Text(), L"");
    EXPECT_EQ(CallMethod(object, L"Save").status, S_OK);
    EXPECT_EQ(Get(object, L"EntryID").Text(), item->EntryId());
    EXPECT_FALSE(item->EntryId().empty());
}

TEST_F(HostObjects, CallsOfTheWrongFormAreRefused) {
    const DispatchPtr item = host_.NewAppointment()->Dispatch();
    const struct {
        const wchar_t* name;
        WORD flags;
        std::vector<_variant_t> arguments;
        HRESULT status;
    } cases[] = {
        {L"Nonsense", DISPATCH_METHOD, {}, DISP_E_UNKNOWNNAME},
        {L"Subject", DISPATCH_METHOD, {}, DISP_E_MEMBERNOTFOUND},
        {L"Save", DISPATCH_PROPERTYGET, {}, DISP_E_MEMBERNOTFOUND},
        {L"EntryID", DISPATCH_PROPERTYPUT, {_variant_t(L"x")}, DISP_E_MEMBERNOTFOUND},
        {L"Close", DISPATCH_METHOD, {}, DISP_E_BADPARAMCOUNT},
        {L"Delete", DISPATCH_METHOD, {_variant_t(1L)}, DISP_E_BADPARAMCOUNT},
        {L"Display", DISPATCH_METHOD, {Omitted()}, S_OK},
        {L"MeetingStatus", DISPATCH_PROPERTYPUT, {_variant_t(L"many")}, DISP_E_TYPEMISMATCH},
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(testing::Message() << ToNarrow(one.name));
        EXPECT_EQ(Ask(item, one.name, one.flags, one.arguments).status, one.status);
    }
    EXPECT_EQ(Ask(item, L"Subject", DISPATCH_PROPERTYPUT, {_variant_t(L"x")}, false).status, DISP_E_PARAMNOTFOUND);
}

TEST_F(HostObjects, SessionFindsItemsByStore) {
    host_.AddStore(L"Archive", L"");
    host_.AddStore(L"Team", L"T");
    const ItemPtr item = host_.NewAppointment();
    item->Save();
    const DispatchPtr session = Get(host_.Application(), L"Session").Object();
    const DispatchPtr folders = Get(session, L"Folders").Object();
    EXPECT_EQ(Get(folders, L"Count").value.lVal, 3);

    _variant_t index(1L);
    index.vt = VT_INT;
    const DispatchPtr root = CallMethod(folders, L"Item", {index}).Object();
    ASSERT_TRUE(root);
    EXPECT_EQ(Get(root, L"StoreID").Text(), item->StoreId());
    EXPECT_EQ(Get(CallMethod(folders, L"Item", {_variant_t(2L)}).Object(), L"StoreID").Text(), L"");
    EXPECT_EQ(CallMethod(folders, L"Item", {_variant_t(4L)}).status, DISP_E_BADINDEX);
    host_.habits().refuseVtInt = true;
    EXPECT_EQ(CallMethod(folders, L"Item", {index}).status, DISP_E_TYPEMISMATCH);

    const _variant_t entry(item->EntryId().c_str());
    EXPECT_TRUE(CallMethod(session, L"GetItemFromID", {entry, _variant_t(item->StoreId().c_str())}).Object());
    EXPECT_TRUE(CallMethod(session, L"GetItemFromID", {entry, Omitted()}).Object());
    const Answer elsewhere = CallMethod(session, L"GetItemFromID", {entry, _variant_t(L"T")});
    EXPECT_EQ(elsewhere.status, DISP_E_EXCEPTION);
    EXPECT_EQ(elsewhere.scode, kMapiNotFound);
}

TEST_F(HostObjects, ChosenCallsFailInTheChosenWay) {
    const DispatchPtr item = host_.NewAppointment()->Dispatch();
    host_.ResetCalls();
    host_.FailCall(2, FailKind::Status, E_ACCESSDENIED);
    host_.FailCall(3, FailKind::Exception, E_OUTOFMEMORY);
    host_.FailCall(4, FailKind::NullResult, S_OK);
    host_.FailMember(L"AppointmentItem.put Body", FailKind::Exception, E_FAIL);

    EXPECT_EQ(Get(item, L"Subject").status, S_OK);
    EXPECT_EQ(Get(item, L"Subject").status, E_ACCESSDENIED);
    host_.habits().deferredExceptions = true;
    const Answer exception = Get(item, L"Subject");
    EXPECT_EQ(exception.status, DISP_E_EXCEPTION);
    EXPECT_EQ(exception.scode, E_OUTOFMEMORY);
    EXPECT_TRUE(exception.texts);
    EXPECT_TRUE(exception.deferred);
    const Answer none = Get(item, L"FormDescription");
    EXPECT_EQ(none.status, S_OK);
    EXPECT_EQ(none.value.vt, VT_DISPATCH);
    EXPECT_FALSE(none.Object());
    EXPECT_EQ(Put(item, L"Body", L"x").scode, E_FAIL);
    EXPECT_EQ(Get(item, L"Body").status, S_OK);

    const std::vector<CallRecord> calls = host_.Calls();
    ASSERT_EQ(calls.size(), 6u);
    EXPECT_EQ(calls[1].Text(), L"2 AppointmentItem.Subject() = 0x80070005 (on purpose)");
    EXPECT_EQ(calls[4].Text(), L"5 AppointmentItem.put Body(\"x\") = 0x80004005 (on purpose)");
    EXPECT_EQ(host_.CountOf(L"AppointmentItem.Subject"), 3u);
}

TEST_F(HostObjects, NullObjectsComeInTheChosenForm) {
    const DispatchPtr application = host_.Application();
    EXPECT_EQ(CallMethod(application, L"ActiveExplorer").value.vt, VT_DISPATCH);
    host_.habits().nullAsEmpty = true;
    EXPECT_EQ(CallMethod(application, L"ActiveExplorer").value.vt, VT_EMPTY);
}

TEST_F(HostObjects, IdentityFollowsTheHabits) {
    const ExplorerPtr explorer = host_.OpenExplorer();
    const auto unknown = [](const DispatchPtr& object) { return UnknownPtr(object).GetInterfacePtr(); };
    const struct {
        bool distinctPointers, distinctIdentity, samePointer, sameUnknown;
    } cases[] = {{false, false, true, true}, {true, false, false, true}, {true, true, false, false}};
    for (const auto& one : cases) {
        SCOPED_TRACE(testing::Message() << one.distinctPointers << one.distinctIdentity);
        host_.habits().distinctPointers = one.distinctPointers;
        host_.habits().distinctIdentity = one.distinctIdentity;
        const DispatchPtr first = explorer->Dispatch();
        const DispatchPtr second = CallMethod(host_.Application(), L"ActiveExplorer").Object();
        EXPECT_EQ(first.GetInterfacePtr() == second.GetInterfacePtr(), one.samePointer);
        EXPECT_EQ(unknown(first) == unknown(second), one.sameUnknown);
        EXPECT_EQ(Get(second, L"Caption").Text(), explorer->Caption());
    }
}

TEST_F(HostObjects, OtherThreadsAreRefusedAndCounted) {
    const DispatchPtr item = host_.NewAppointment()->Dispatch();
    IDispatch* raw = item;
    HRESULT status = S_OK;
    std::thread([&] {
        VARIANT result;
        DISPPARAMS none{};
        status = raw->Invoke(0x0037, IID_NULL, 0, DISPATCH_PROPERTYGET, &none, &result, nullptr, nullptr);
    }).join();
    EXPECT_EQ(status, RPC_E_WRONG_THREAD);
    EXPECT_EQ(host_.WrongThreadCalls(), 1u);
}

TEST_F(HostObjects, LedgerNamesWhatIsHeld) {
    DispatchPtr item = host_.NewAppointment()->Dispatch();
    DispatchPtr again = item;
    EXPECT_THAT(host_.Objects().Outstanding(), ElementsAre(L"AppointmentItem #1: 2 references"));
    again = nullptr;
    item = nullptr;
    EXPECT_THAT(host_.Objects().Outstanding(), IsEmpty());
}

TEST_F(HostObjects, ObjectsOutliveTheHost) {
    DispatchPtr item;
    {
        OutlookHost gone;
        item = gone.NewAppointment()->Dispatch();
    }
    EXPECT_EQ(Ask(item, L"Subject", DISPATCH_PROPERTYGET).status, RPC_E_DISCONNECTED);
}

} // namespace
} // namespace workbench
