#include "Outlook/ObjectModel/ObjectModel.h"

#include "tests/fakes/FakeDispatch.h"
#include "tests/fakes/StatusMatcher.h"

#include <optional>

namespace {

/// A value of that type that is null.
_variant_t NothingOf(VARTYPE type) {
    _variant_t value;
    value.vt = type;
    return value;
}

} // namespace

// The stand-in host sees whether the other calls go out as they should.
TEST(HostCalls, GiveTheKindOfLanguageAndLeaveTheModalityOut) {
    FakeDispatch settings;
    settings.On(L"LanguageID", _variant_t(1033L));
    long language = 0;
    Outlook::GetLanguageID(settings.As<Outlook::LanguageSettings>(), Outlook::msoLanguageIDUI, language);
    EXPECT_EQ(language, 1033);
    EXPECT_THAT(settings.Calls().at(0).arguments, testing::ElementsAre(_variant_t(2L)));

    FakeDispatch item;
    item.On(L"Display", _variant_t());
    Outlook::Display(item.As<Outlook::_AppointmentItem>());
    ASSERT_EQ(item.Calls().at(0).arguments.size(), 1u);
    EXPECT_EQ(item.Calls()[0].arguments[0].vt, VT_ERROR);
    EXPECT_THAT(item.Calls()[0].arguments[0].scode, IsStatus(DISP_E_PARAMNOTFOUND));
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

/// The value that the host's answer is brought into, which was `old` before; nothing when the call failed.
template <class Value>
std::optional<Value> Read(HRESULT (*get)(Outlook::_AppointmentItem*, Value&), const wchar_t* member,
                          const FakeAnswer& answer, Value old) {
    FakeDispatch object;
    object.On(member, answer);
    const bool converts = SUCCEEDED(get(object.As<Outlook::_AppointmentItem>(), old));
    EXPECT_TRUE(converts || old == Value()) << "half an answer is no answer";
    return converts ? std::optional<Value>(old) : std::nullopt;
}

TEST(HostResults, ValuesAreBroughtIntoTheTypeThatIsWanted) {
    const auto subject = [](const FakeAnswer& answer) {
        const auto text = Read(&Outlook::GetSubject, L"Subject", answer, _bstr_t(L"old"));
        return !text ? L"(failed)" : text->length() != 0 ? std::wstring(*text) : std::wstring();
    };
    EXPECT_EQ(subject({S_OK, L"plan"}), L"plan");
    EXPECT_EQ(subject({S_OK, 12L}), L"12");
    EXPECT_EQ(subject({}), L"");
    EXPECT_EQ(subject({S_OK, NothingOf(VT_BSTR)}), L""); // the null text
    EXPECT_EQ(subject({S_OK, NothingOf(VT_DISPATCH)}), L"(failed)");
    EXPECT_EQ(subject({E_ACCESSDENIED, L"half"}), L"(failed)");

    const auto status = [](const _variant_t& value) {
        return Read(&Outlook::GetMeetingStatus, L"MeetingStatus", {S_OK, value}, 77L).value_or(-1);
    };
    EXPECT_EQ(status(5L), 5);
    EXPECT_EQ(status(static_cast<short>(-3)), -3);
    EXPECT_EQ(status(L"7"), 7);
    EXPECT_EQ(status(L"seven"), -1);
    EXPECT_EQ(status(1e12), -1);

    const auto start = [](const _variant_t& value) {
        return Read(&Outlook::GetStartUTC, L"StartUTC", {S_OK, value}, DATE{77}).value_or(-1);
    };
    EXPECT_EQ(start({45356.375, VT_DATE}), 45356.375);
    EXPECT_EQ(start(45356.375), 45356.375);
    EXPECT_EQ(start(NothingOf(VT_DISPATCH)), -1);
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
