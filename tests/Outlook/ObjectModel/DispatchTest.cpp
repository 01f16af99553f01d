#include "Outlook/ObjectModel/Dispatch.h"

#include "tests/fakes/FakeDispatch.h"
#include "tests/fakes/LargeTextSpy.h"
#include "tests/fakes/StatusMatcher.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr HRESULT kOwnStatus = static_cast<HRESULT>(0x80040155);

} // namespace

TEST(LateBinding, ArgumentsGoLastFirst) {
    static Outlook::Member member{L"Ordered"};
    FakeDispatch object;
    object.On(L"Ordered", _variant_t(9L));
    _variant_t result;
    EXPECT_THAT(Outlook::CallMethod(&object, member, result, {_variant_t(1L), _variant_t(2L), _variant_t(L"3")}),
                IsStatus(S_OK));
    EXPECT_EQ(result, _variant_t(9L));
    EXPECT_THAT(Outlook::GetProperty(&object, member, result, {_variant_t(4L)}), IsStatus(S_OK));
    ASSERT_EQ(object.Calls().size(), 2u);
    EXPECT_EQ(object.Calls()[0].kind, DISPATCH_METHOD);
    EXPECT_THAT(object.Calls()[0].arguments, ElementsAre(_variant_t(L"3"), _variant_t(2L), _variant_t(1L)));
    EXPECT_THAT(object.Calls()[0].named, IsEmpty());
    EXPECT_EQ(object.Calls()[1].kind, DISPATCH_PROPERTYGET);
    EXPECT_THAT(object.Calls()[1].arguments, ElementsAre(_variant_t(4L)));

    const VARIANT one = {};
    EXPECT_THAT(Outlook::CallMethod(&object, member, result, {one, one, one, one}), IsStatus(S_OK));
    EXPECT_THAT(Outlook::CallMethod(&object, member, result, {one, one, one, one, one}), IsStatus(E_INVALIDARG));
}

TEST(LateBinding, AnAssignmentNamesItsArgument) {
    static Outlook::Member member{L"Assigned"};
    FakeDispatch object;
    object.On(L"Assigned", _variant_t());
    const _variant_t value(L"text");
    EXPECT_THAT(Outlook::PutProperty(&object, member, value), IsStatus(S_OK));
    ASSERT_EQ(object.Calls().size(), 1u);
    EXPECT_EQ(object.Calls()[0].kind, DISPATCH_PROPERTYPUT);
    EXPECT_THAT(object.Calls()[0].arguments, ElementsAre(value));
    EXPECT_THAT(object.Calls()[0].named, ElementsAre(DISPID_PROPERTYPUT));
}

TEST(LateBinding, ANameIsLookedUpOnceButAFailedLookUpIsRepeated) {
    static Outlook::Member member{L"LookedUp"};
    FakeDispatch stranger;
    _variant_t result;
    EXPECT_THAT(Outlook::GetProperty(&stranger, member, result), IsStatus(DISP_E_UNKNOWNNAME));
    EXPECT_THAT(stranger.Calls(), IsEmpty());
    FakeDispatch object;
    object.On(L"LookedUp", _variant_t(1L));
    FakeDispatch other;
    other.On(L"LookedUp", _variant_t(2L));
    EXPECT_THAT(Outlook::GetProperty(&object, member, result), IsStatus(S_OK));
    EXPECT_THAT(Outlook::GetProperty(&object, member, result), IsStatus(S_OK));
    EXPECT_THAT(Outlook::GetProperty(&other, member, result), IsStatus(S_OK));
    EXPECT_EQ(result, _variant_t(2L));
    EXPECT_EQ(object.Lookups(), 1u);
    EXPECT_EQ(other.Lookups(), 0u) << "the id is the interface's, not the object's";
}

TEST(LateBinding, ANullObjectRaisesEPointer) {
    static Outlook::Member member{L"OfNobody"};
    const auto statusOf = [](auto&& call) {
        try {
            call();
        } catch (const _com_error& error) {
            return error.Error();
        }
        return S_OK;
    };
    _variant_t result;
    EXPECT_THAT(statusOf([&] { Outlook::GetProperty(nullptr, member, result); }), IsStatus(E_POINTER));
    EXPECT_THAT(statusOf([&] { Outlook::CallMethod(nullptr, member, result); }), IsStatus(E_POINTER));
    EXPECT_THAT(statusOf([&] { Outlook::PutProperty(nullptr, member, result); }), IsStatus(E_POINTER));
}

TEST(LateBinding, TheHostsOwnStatusComesOutOfItsException) {
    struct Case {
        const char* name;
        HRESULT status;
        HRESULT scode;
        HRESULT result;
    };
    const Case cases[] = {
        {"exception", DISP_E_EXCEPTION, kOwnStatus, kOwnStatus},
        {"exception without a status", DISP_E_EXCEPTION, S_OK, DISP_E_EXCEPTION},
        {"exception with a success", DISP_E_EXCEPTION, S_FALSE, DISP_E_EXCEPTION},
        {"plain failure", RPC_E_WRONG_THREAD, kOwnStatus, RPC_E_WRONG_THREAD},
    };
    static Outlook::Member member{L"Failing"};
    for (const Case& each : cases) {
        for (const bool later : {false, true}) {
            SCOPED_TRACE(testing::Message() << each.name << (later ? ", filled in later" : ""));
            FakeDispatch object;
            object.On(L"Failing", {each.status, _variant_t(5L), each.scode, L"text", later});
            _variant_t result(L"old");
            VARIANT* raw = &result; // the helpers initialise it: what it held is the caller's to clear
            result.Clear();
            EXPECT_THAT(Outlook::GetProperty(&object, member, *raw), IsStatus(each.result));
            EXPECT_EQ(result.vt, VT_EMPTY) << "half an answer is no answer";
            EXPECT_THAT(Outlook::CallMethod(&object, member, *raw), IsStatus(each.result));
            EXPECT_THAT(Outlook::PutProperty(&object, member, _variant_t(1L)), IsStatus(each.result));
        }
    }
}

TEST(LateBinding, TheTextsOfAnExceptionAndOfAHalfAnswerAreFreed) {
    static Outlook::Member member{L"Talkative"};
    const std::wstring text = LargeTextSpy::LargeText();
    for (const bool later : {false, true}) {
        SCOPED_TRACE(later);
        FakeDispatch object;
        object.On(L"Talkative", {DISP_E_EXCEPTION, _variant_t(text.c_str()), kOwnStatus, text, later});
        const LargeTextSpy& spy = LargeTextSpy::Watch();
        {
            _variant_t result;
            Outlook::GetProperty(&object, member, result);
            Outlook::CallMethod(&object, member, result);
            EXPECT_EQ(Outlook::PutProperty(&object, member, _variant_t(1L)), kOwnStatus);
        }
        EXPECT_GE(spy.Seen(), 9u) << "three texts a call at the least";
        EXPECT_EQ(spy.Living(), 0u);
    }
}
