#include "workbench/host/OutlookHost.h"

#include <gmock/gmock.h>

#include <thread>

namespace workbench {
namespace {

using testing::ElementsAre;

/// The status of a call by name.
HRESULT Ask(IDispatch* object, const wchar_t* name, WORD flags, std::vector<_variant_t> arguments = {},
            bool named = true) {
    DISPID id = 0;
    LPOLESTR text = const_cast<LPOLESTR>(name);
    const HRESULT known = object->GetIDsOfNames(IID_NULL, &text, 1, LOCALE_USER_DEFAULT, &id);
    if (FAILED(known)) {
        return known;
    }
    DISPID put = DISPID_PROPERTYPUT;
    const bool isPut = flags == DISPATCH_PROPERTYPUT && named;
    DISPPARAMS params{arguments.data(), isPut ? &put : nullptr, static_cast<UINT>(arguments.size()), isPut ? 1U : 0U};
    _variant_t value;
    return object->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, flags, &params, &value, nullptr, nullptr);
}

/// The tests of the add-in rely on this behaviour: the host notices an add-in's mistakes. They show the rest of its
/// behaviour themselves.
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
        EXPECT_EQ(Ask(item, one.name, one.flags, one.arguments), one.status);
    }
    EXPECT_EQ(Ask(item, L"Subject", DISPATCH_PROPERTYPUT, {_variant_t(L"x")}, false), DISP_E_PARAMNOTFOUND);
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
    EXPECT_EQ(Ask(item, L"Subject", DISPATCH_PROPERTYGET), RPC_E_DISCONNECTED);
}

} // namespace
} // namespace workbench
