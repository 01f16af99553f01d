#include "workbench/host/OutlookHost.h"

#include <gmock/gmock.h>

#include <thread>

namespace workbench {
namespace {

using testing::ElementsAre;

/// The result of a call by name.
struct Answer {
    HRESULT status = E_FAIL; // of the call, or of its exception
    bool excepted = false;   // with all three texts of the exception
    _variant_t value;
};

Answer Ask(IDispatch* object, const wchar_t* name, WORD flags, std::vector<_variant_t> arguments = {},
           bool named = true) {
    Answer answer;
    DISPID id = 0;
    LPOLESTR text = const_cast<LPOLESTR>(name);
    answer.status = object->GetIDsOfNames(IID_NULL, &text, 1, LOCALE_USER_DEFAULT, &id);
    if (FAILED(answer.status)) {
        return answer;
    }
    DISPID put = DISPID_PROPERTYPUT;
    const bool isPut = flags == DISPATCH_PROPERTYPUT && named;
    DISPPARAMS params{arguments.data(), isPut ? &put : nullptr, static_cast<UINT>(arguments.size()), isPut ? 1U : 0U};
    EXCEPINFO exception{};
    answer.status =
        object->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, flags, &params, &answer.value, &exception, nullptr);
    if (exception.pfnDeferredFillIn) {
        exception.pfnDeferredFillIn(&exception);
    }
    answer.excepted = exception.bstrSource && exception.bstrDescription && exception.bstrHelpFile;
    answer.status = answer.status == DISP_E_EXCEPTION ? exception.scode : answer.status;
    ::SysFreeString(exception.bstrSource);
    ::SysFreeString(exception.bstrDescription);
    ::SysFreeString(exception.bstrHelpFile);
    return answer;
}

Answer Get(IDispatch* object, const wchar_t* name) {
    return Ask(object, name, DISPATCH_PROPERTYGET);
}

/// The tests of the add-in rely on this behaviour: the host notices an add-in's mistakes, and fails where it is told
/// to. They show the rest of its behaviour themselves.
class Host : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(SUCCEEDED(::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)));
        host_.AddStore(L"Mailbox");
    }
    void TearDown() override {
        host_.Shutdown();
        EXPECT_THAT(host_.Objects().Outstanding(), testing::IsEmpty());
        ::CoUninitialize();
    }

    OutlookHost host_;
};

TEST_F(Host, RefusesCallsOfTheWrongForm) {
    const DispatchPtr item = host_.NewAppointment()->Dispatch();
    const struct {
        const wchar_t* name;
        WORD flags;
        std::vector<_variant_t> arguments;
        HRESULT status;
    } cases[] = {
        {L"Nonsense", DISPATCH_METHOD, {}, DISP_E_UNKNOWNNAME},
        {L"Subject", DISPATCH_METHOD, {}, DISP_E_MEMBERNOTFOUND},
        {L"Delete", DISPATCH_PROPERTYGET, {}, DISP_E_MEMBERNOTFOUND},
        {L"EntryID", DISPATCH_PROPERTYPUT, {_variant_t(L"x")}, DISP_E_MEMBERNOTFOUND},
        {L"Delete", DISPATCH_METHOD, {_variant_t(1L)}, DISP_E_BADPARAMCOUNT},
        {L"Display", DISPATCH_METHOD, {_variant_t(DISP_E_PARAMNOTFOUND, VT_ERROR)}, S_OK},
        {L"MeetingStatus", DISPATCH_PROPERTYPUT, {_variant_t(L"many")}, DISP_E_TYPEMISMATCH},
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(testing::Message() << one.name);
        EXPECT_EQ(Ask(item, one.name, one.flags, one.arguments).status, one.status);
    }
    EXPECT_EQ(Ask(item, L"Subject", DISPATCH_PROPERTYPUT, {_variant_t(L"x")}, false).status, DISP_E_PARAMNOTFOUND);
}

TEST_F(Host, FailsTheChosenCallsInTheChosenWay) {
    const DispatchPtr item = host_.NewAppointment()->Dispatch();
    host_.ResetCalls();
    const std::map<std::size_t, Failure> failures = {{2, {FailKind::Status, E_ACCESSDENIED}},
                                                     {3, {FailKind::Exception, E_OUTOFMEMORY}},
                                                     {4, {FailKind::NullResult, S_OK}}};
    host_.FailWhen([&](const CallRecord& call) {
        const auto found = failures.find(call.number);
        return found != failures.end() ? std::make_optional(found->second) : std::nullopt;
    });
    host_.FailMember(L"AppointmentItem.put Body", FailKind::Exception, E_FAIL);
    host_.habits().deferredExceptions = true;

    EXPECT_EQ(Get(item, L"Subject").status, S_OK);
    EXPECT_EQ(Get(item, L"Subject").status, E_ACCESSDENIED);
    const Answer exception = Get(item, L"Subject");
    EXPECT_EQ(exception.status, E_OUTOFMEMORY);
    EXPECT_TRUE(exception.excepted);
    const Answer none = Get(item, L"FormDescription");
    EXPECT_EQ(none.status, S_OK);
    ASSERT_EQ(none.value.vt, VT_DISPATCH);
    EXPECT_EQ(none.value.pdispVal, nullptr);
    EXPECT_EQ(Ask(item, L"Body", DISPATCH_PROPERTYPUT, {_variant_t(L"x")}).status, E_FAIL);
    EXPECT_EQ(Get(item, L"Body").status, S_OK);

    const std::vector<CallRecord> calls = host_.Calls();
    ASSERT_EQ(calls.size(), 6u);
    EXPECT_EQ(calls[4].Text(), L"5 AppointmentItem.put Body(\"x\") = 0x80004005 (on purpose)");
    EXPECT_EQ(host_.CountOf(L"AppointmentItem.Subject"), 3u);
}

TEST_F(Host, RefusesAndCountsOtherThreads) {
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

TEST_F(Host, NamesWhatIsHeldAndIsOutlivedByIt) {
    DispatchPtr item = host_.NewAppointment()->Dispatch();
    const DispatchPtr again = item;
    EXPECT_THAT(host_.Objects().Outstanding(), ElementsAre(L"AppointmentItem #1: 2 references"));
    {
        OutlookHost gone;
        item = gone.NewAppointment()->Dispatch();
    }
    EXPECT_EQ(Get(item, L"Subject").status, RPC_E_DISCONNECTED);
}

} // namespace
} // namespace workbench
