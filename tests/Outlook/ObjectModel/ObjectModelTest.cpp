#include "Outlook/ObjectModel/ObjectModel.h"

#include "tests/fakes/FakeDispatch.h"
#include "tests/fakes/StatusMatcher.h"

#include <functional>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

_variant_t Omitted() {
    return _variant_t(static_cast<long>(DISP_E_PARAMNOTFOUND), VT_ERROR);
}

/// A value of that type that is null.
_variant_t NothingOf(VARTYPE type) {
    _variant_t value;
    value.vt = type;
    return value;
}

_variant_t Index(int index) {
    _variant_t value;
    value.vt = VT_INT;
    value.intVal = index;
    return value;
}

/// Compares type and contents; _variant_t's own comparison does not know every type.
MATCHER_P(IsVariant, expected, "") {
    *result_listener << "type " << arg.vt;
    if (arg.vt != expected.vt) {
        return false;
    }
    switch (arg.vt) {
    case VT_BSTR:
        return std::wstring(arg.bstrVal) == expected.bstrVal;
    case VT_DATE:
        return arg.date == expected.date;
    default:
        return arg.lVal == expected.lVal;
    }
}

template <class Interface>
Interface* Of(FakeDispatch& object) {
    return object.As<Interface>();
}

} // namespace

TEST(HostCalls, EachGoesOutWithItsKindAndItsArgumentTypes) {
    using namespace Outlook;
    struct Case {
        const wchar_t* member;
        WORD kind;
        std::vector<_variant_t> arguments; // last first
        std::function<HRESULT(FakeDispatch&)> call;
    };
    const _bstr_t text(L"t");
    const Case cases[] = {
        {L"ActiveExplorer",
         DISPATCH_METHOD,
         {},
         [](FakeDispatch& object) {
             _ExplorerPtr explorer;
             return ActiveExplorer(Of<_Application>(object), explorer);
         }},
        {L"Session",
         DISPATCH_PROPERTYGET,
         {},
         [](FakeDispatch& object) {
             _NameSpacePtr session;
             return GetSession(Of<_Application>(object), session);
         }},
        {L"CreateItem",
         DISPATCH_METHOD,
         {_variant_t(1L)},
         [](FakeDispatch& object) {
             IDispatchPtr item;
             return CreateItem(Of<_Application>(object), olAppointmentItem, item);
         }},
        {L"LanguageID",
         DISPATCH_PROPERTYGET,
         {_variant_t(2L)},
         [](FakeDispatch& object) {
             long language = 0;
             return GetLanguageID(Of<Outlook::LanguageSettings>(object), msoLanguageIDUI, language);
         }},
        {L"GetItemFromID",
         DISPATCH_METHOD,
         {_variant_t(L"store"), _variant_t(L"entry")},
         [](FakeDispatch& object) {
             IDispatchPtr item;
             return GetItemFromID(Of<_NameSpace>(object), L"entry", L"store", item);
         }},
        {L"Item",
         DISPATCH_METHOD,
         {Index(3)},
         [](FakeDispatch& object) {
             MAPIFolderPtr folder;
             return GetItem(Of<_Folders>(object), 3, folder);
         }},
        {L"Close",
         DISPATCH_METHOD,
         {_variant_t(1L)},
         [](FakeDispatch& object) { return Close(Of<_Inspector>(object), olDiscard); }},
        {L"Display",
         DISPATCH_METHOD,
         {Omitted()},
         [](FakeDispatch& object) { return Display(Of<_AppointmentItem>(object)); }},
        {L"Delete", DISPATCH_METHOD, {}, [](FakeDispatch& object) { return Delete(Of<_AppointmentItem>(object)); }},
        {L"GetInspector",
         DISPATCH_PROPERTYGET,
         {},
         [](FakeDispatch& object) {
             _InspectorPtr inspector;
             return GetInspector(Of<_AppointmentItem>(object), inspector);
         }},
        {L"Subject",
         DISPATCH_PROPERTYPUT,
         {_variant_t(L"t")},
         [&](FakeDispatch& object) { return PutSubject(Of<_AppointmentItem>(object), text); }},
        {L"StartUTC",
         DISPATCH_PROPERTYPUT,
         {_variant_t(1.5, VT_DATE)},
         [](FakeDispatch& object) { return PutStartUTC(Of<_AppointmentItem>(object), 1.5); }},
        {L"EndUTC",
         DISPATCH_PROPERTYPUT,
         {_variant_t(-2.25, VT_DATE)},
         [](FakeDispatch& object) { return PutEndUTC(Of<_AppointmentItem>(object), -2.25); }},
        {L"MeetingStatus",
         DISPATCH_PROPERTYPUT,
         {_variant_t(1L)},
         [](FakeDispatch& object) { return PutMeetingStatus(Of<_AppointmentItem>(object), olMeeting); }},
        {L"Comment",
         DISPATCH_PROPERTYPUT,
         {_variant_t(L"t")},
         [&](FakeDispatch& object) { return PutComment(Of<FormDescription>(object), text); }},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(testing::Message() << each.member);
        FakeDispatch object;
        object.On(each.member, _variant_t());
        each.call(object);
        ASSERT_EQ(object.Calls().size(), 1u);
        const FakeDispatch::Call& call = object.Calls().front();
        EXPECT_EQ(call.member, each.member);
        EXPECT_EQ(call.kind, each.kind);
        ASSERT_EQ(call.arguments.size(), each.arguments.size());
        for (size_t index = 0; index < call.arguments.size(); ++index) {
            EXPECT_THAT(call.arguments[index], IsVariant(each.arguments[index]));
        }
    }
}

TEST(HostResults, NoObjectIsASuccessWhicheverWayItComes) {
    struct Case {
        const char* name;
        _variant_t value;
        HRESULT result;
    };
    const Case cases[] = {
        {"empty", _variant_t(), S_OK},
        {"null", NothingOf(VT_NULL), S_OK},
        {"null object", _variant_t(static_cast<IDispatch*>(nullptr)), S_OK},
        {"null unknown", _variant_t(static_cast<IUnknown*>(nullptr)), S_OK},
        {"number", _variant_t(0L), DISP_E_TYPEMISMATCH},
        {"text", _variant_t(L""), DISP_E_TYPEMISMATCH},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        FakeDispatch application;
        FakeDispatch old(__uuidof(Outlook::_Explorers));
        application.On(L"Explorers", each.value);
        Outlook::_ExplorersPtr explorers(old.As<Outlook::_Explorers>());
        EXPECT_THAT(Outlook::GetExplorers(application.As<Outlook::_Application>(), explorers), IsStatus(each.result));
        EXPECT_EQ(explorers, nullptr) << "what the pointer held before is no answer";
    }
}

TEST(HostResults, AnObjectIsAskedForTheInterfaceThatIsWanted) {
    FakeDispatch application;
    FakeDispatch explorers(__uuidof(Outlook::_Explorers));
    Outlook::_ExplorersPtr found;
    for (const bool asUnknown : {false, true}) {
        application.On(L"Explorers", asUnknown ? _variant_t(static_cast<IUnknown*>(&explorers))
                                               : _variant_t(static_cast<IDispatch*>(&explorers)));
        EXPECT_THAT(Outlook::GetExplorers(application.As<Outlook::_Application>(), found), IsStatus(S_OK));
        EXPECT_NE(found, nullptr);
    }
    FakeDispatch other(__uuidof(Outlook::_Inspectors));
    application.On(L"Explorers", _variant_t(static_cast<IDispatch*>(&other)));
    EXPECT_THAT(Outlook::GetExplorers(application.As<Outlook::_Application>(), found), IsStatus(E_NOINTERFACE));
    EXPECT_EQ(found, nullptr);
    application.On(L"Explorers", _variant_t()); // the fake's own reference on `other` goes
}

TEST(HostResults, ValuesAreBroughtIntoTheTypeThatIsWanted) {
    FakeDispatch object;
    auto* item = object.As<Outlook::_AppointmentItem>();
    const auto subject = [&](const _variant_t& value, bool converts = true) {
        object.On(L"Subject", value);
        _bstr_t text(L"old");
        EXPECT_THAT(Outlook::GetSubject(item, text),
                    testing::Truly([=](HRESULT answer) { return SUCCEEDED(answer) == converts; }));
        return text.length() != 0 ? std::wstring(text) : std::wstring();
    };
    EXPECT_EQ(subject(_variant_t(L"plan")), L"plan");
    EXPECT_EQ(subject(_variant_t(12L)), L"12");
    EXPECT_EQ(subject(_variant_t()), L"");
    EXPECT_EQ(subject(NothingOf(VT_BSTR)), L""); // the null text
    EXPECT_EQ(subject(NothingOf(VT_DISPATCH), false), L"");

    const auto status = [&](const _variant_t& value, bool converts = true) {
        object.On(L"MeetingStatus", value);
        long number = 77;
        EXPECT_THAT(Outlook::GetMeetingStatus(item, number),
                    testing::Truly([=](HRESULT answer) { return SUCCEEDED(answer) == converts; }));
        return number;
    };
    EXPECT_EQ(status(_variant_t(5L)), 5);
    EXPECT_EQ(status(_variant_t(static_cast<short>(-3))), -3);
    EXPECT_EQ(status(_variant_t(L"7")), 7);
    EXPECT_EQ(status(_variant_t(L"seven"), false), 0);
    EXPECT_EQ(status(_variant_t(1e12), false), 0);

    const auto start = [&](const _variant_t& value, bool converts = true) {
        object.On(L"StartUTC", value);
        DATE date = 77;
        EXPECT_THAT(Outlook::GetStartUTC(item, date),
                    testing::Truly([=](HRESULT answer) { return SUCCEEDED(answer) == converts; }));
        return date;
    };
    EXPECT_EQ(start(_variant_t(45356.375, VT_DATE)), 45356.375);
    EXPECT_EQ(start(_variant_t(45356.375)), 45356.375);
    EXPECT_EQ(start(NothingOf(VT_DISPATCH), false), 0.0);

    object.On(L"Subject", FakeAnswer{E_ACCESSDENIED, _variant_t(L"half"), S_OK, {}, false});
    _bstr_t text(L"old");
    EXPECT_THAT(Outlook::GetSubject(item, text), IsStatus(E_ACCESSDENIED));
    EXPECT_EQ(text.length(), 0u);
}

TEST(HostResults, TextsKeepTheirNulAndTheirSurrogates) {
    FakeDispatch object;
    const std::wstring awkward(L"a\0b\xd83d\xde00", 5);
    _variant_t value;
    value.vt = VT_BSTR;
    value.bstrVal = ::SysAllocStringLen(awkward.data(), static_cast<UINT>(awkward.size()));
    object.On(L"Body", value);
    _bstr_t text;
    EXPECT_THAT(Outlook::GetBody(object.As<Outlook::_AppointmentItem>(), text), IsStatus(S_OK));
    EXPECT_EQ(std::wstring(text, text.length()), awkward);
    EXPECT_THAT(Outlook::PutBody(object.As<Outlook::_AppointmentItem>(), text), IsStatus(S_OK));
    const _variant_t& sent = object.Calls().back().arguments.front();
    EXPECT_EQ(std::wstring(sent.bstrVal, ::SysStringLen(sent.bstrVal)), awkward);
}
