#include "tests/Outlook/Life/SinkFixture.h"

using testing::ElementsAre;
using testing::IsEmpty;
using workbench::DispatchPtr;
using workbench::ItemPtr;

namespace {

/// The five kinds, each with an object that raises its events.
struct Kind {
    const char* name;
    std::function<IEventSinkPtr(AddIn*, IUnknown*)> make;
    std::function<DispatchPtr(workbench::OutlookHost&)> source;
    GUID events;
    std::vector<DISPID> handled; // with arguments or without
};

DispatchPtr MemberOf(const DispatchPtr& object, const wchar_t* name) {
    DISPID id = 0;
    LPOLESTR text = const_cast<LPOLESTR>(name);
    object->GetIDsOfNames(IID_NULL, &text, 1, LOCALE_USER_DEFAULT, &id);
    DISPPARAMS none = {};
    _variant_t result;
    object->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYGET, &none, &result, nullptr, nullptr);
    return DispatchPtr(result.vt == VT_DISPATCH ? result.pdispVal : nullptr);
}

const std::vector<Kind>& Kinds() {
    using workbench::OutlookHost;
    static const std::vector<Kind> kinds = {
        {"explorers",
         MakeSink<ExplorersEventsSink>,
         [](OutlookHost& host) { return MemberOf(host.Application(), L"Explorers"); },
         workbench::kIidExplorersEvents,
         {0xF001}},
        {"explorer",
         MakeSink<ExplorerEventsSink>,
         [](OutlookHost& host) { return host.OpenExplorer()->Dispatch(); },
         workbench::kIidExplorerEvents,
         {0xF008}},
        {"inspectors",
         MakeSink<InspectorsEventsSink>,
         [](OutlookHost& host) { return MemberOf(host.Application(), L"Inspectors"); },
         workbench::kIidInspectorsEvents,
         {0xF001}},
        {"inspector",
         MakeSink<InspectorEventsSink>,
         [](OutlookHost& host) { return host.OpenInspector(host.NewAppointment())->Dispatch(); },
         workbench::kIidInspectorEvents,
         {0xF008}},
        {"item",
         MakeSink<ItemEventsSink>,
         [](OutlookHost& host) { return host.NewAppointment()->Dispatch(); },
         workbench::kIidItemEvents10,
         {0xF002, 0xF005, 0xFA75}},
    };
    return kinds;
}

/// A source of events with two bad habits: it may have no connection point, and it fires while a sink disconnects.
class OddSource final : public IConnectionPointContainer, public IConnectionPoint {
public:
    bool hasPoint = true; // without one FindConnectionPoint succeeds all the same, with null

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** object) noexcept override {
        // It passes for each of the host's objects: nothing but their identity is asked for here.
        *object = riid == IID_IConnectionPoint ? static_cast<IUnknown*>(static_cast<IConnectionPoint*>(this))
                                               : static_cast<IConnectionPointContainer*>(this);
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() noexcept override { return ++references; }
    ULONG STDMETHODCALLTYPE Release() noexcept override { return --references; }
    HRESULT STDMETHODCALLTYPE FindConnectionPoint(REFIID, IConnectionPoint** point) noexcept override {
        *point = hasPoint ? this : nullptr;
        references += hasPoint ? 1 : 0;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Advise(IUnknown* sink, DWORD* cookie) noexcept override {
        sink_ = DispatchPtr(sink);
        *cookie = 1;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Unadvise(DWORD) noexcept override {
        constexpr DISPID kClose = 0xF008;
        DISPPARAMS none = {};
        sink_->Invoke(kClose, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &none, nullptr, nullptr, nullptr);
        sink_ = nullptr;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE EnumConnectionPoints(IEnumConnectionPoints**) noexcept override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetConnectionInterface(IID*) noexcept override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetConnectionPointContainer(IConnectionPointContainer**) noexcept override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE EnumConnections(IEnumConnections**) noexcept override { return E_NOTIMPL; }

    ULONG references = 0;

private:
    DispatchPtr sink_;
};

class Sinks : public SinkFixture {};

} // namespace

TEST_F(Sinks, AnswerTheirOwnInterfacesOnly) {
    for (const Kind& kind : Kinds()) {
        SCOPED_TRACE(kind.name);
        const IEventSinkPtr sink = kind.make(addIn_, kind.source(*host_));
        void* events = nullptr;
        ASSERT_THAT(sink->QueryInterface(kind.events, &events), IsStatus(S_OK));
        for (const GUID& iid : {kind.events, IID_IDispatch, IID_IUnknown}) {
            void* same = nullptr;
            EXPECT_THAT(static_cast<IUnknown*>(events)->QueryInterface(iid, &same), IsStatus(S_OK));
            EXPECT_EQ(same, events);
            sink->Release();
        }
        void* own = nullptr;
        EXPECT_THAT(static_cast<IUnknown*>(events)->QueryInterface(__uuidof(IEventSink), &own), IsStatus(S_OK));
        EXPECT_EQ(own, sink.GetInterfacePtr());
        sink->Release();
        sink->Release(); // of `events`
        // The second generation has other arguments, and a sink is no source.
        for (const GUID& iid : {workbench::kIidInspectorEvents10, workbench::kIidExplorerEvents10,
                                workbench::kIidItemEvents, workbench::kIidInspector, IID_IConnectionPoint}) {
            void* none = &none;
            EXPECT_THAT(sink->QueryInterface(iid, &none), IsStatus(E_NOINTERFACE));
            EXPECT_EQ(none, nullptr);
        }
        EXPECT_THAT(sink->QueryInterface(IID_IUnknown, nullptr), IsStatus(E_POINTER));
        sink->Unadvise();
        sink->AddRef();
        EXPECT_EQ(sink->Release(), 1u) << "the queries balance";
    }
}

TEST_F(Sinks, ConnectOnceAndLetGoOfTheSourceAgain) {
    for (const Kind& kind : Kinds()) {
        SCOPED_TRACE(kind.name);
        const DispatchPtr source = kind.source(*host_);
        const IEventSinkPtr sink = kind.make(addIn_, source);
        EXPECT_EQ(host_->AdvisedSinks().size(), 1u);
        EXPECT_THAT(sink->Advise(source), IsStatus(S_FALSE));
        EXPECT_THAT(sink->Advise(nullptr), IsStatus(S_FALSE)) << "not even looked at";
        EXPECT_EQ(host_->AdvisedSinks().size(), 1u);
        EXPECT_THAT(sink->Unadvise(), IsStatus(S_OK));
        EXPECT_THAT(host_->AdvisedSinks(), IsEmpty()) << "the first connection's cookie was kept";
        EXPECT_THAT(sink->Unadvise(), IsStatus(S_OK));
        source->AddRef();
        EXPECT_EQ(source->Release(), 1u) << "only this test holds the source";
        EXPECT_THAT(sink->Advise(source), IsStatus(S_OK)) << "it can be connected again";
        sink->Unadvise();
    }
    EXPECT_THAT(LogTexts(L"EventSinkImpl::Advise"), IsEmpty());
}

TEST_F(Sinks, SourceWithoutEventsIsLoggedAlikeByEveryKind) {
    // A form description has no events, and no sink is made for it.
    const DispatchPtr unknown = MemberOf(host_->NewAppointment()->Dispatch(), L"FormDescription");
    ASSERT_NE(unknown, nullptr);
    for (const Kind& kind : Kinds()) {
        SCOPED_TRACE(kind.name);
        LogCapture::Clear();
        const IEventSinkPtr sink = kind.make(addIn_, unknown);
        ASSERT_NE(sink, nullptr);
        EXPECT_THAT(LogTexts(L"EventSinkImpl::Advise"),
                    ElementsAre(L"0 Query IConnectionPointContainer interface from _Explorer fail: 0x80004002"));
        EXPECT_THAT(sink->Advise(unknown), IsStatus(E_NOINTERFACE));
        EXPECT_TRUE(FAILED(sink->Advise(nullptr)));
        EXPECT_THAT(sink->Unadvise(), IsStatus(S_OK));
    }
}

TEST_F(Sinks, SuccessWithoutAConnectionPointIsAFailedConnection) {
    OddSource source;
    source.hasPoint = false;
    for (const Kind& kind : Kinds()) {
        SCOPED_TRACE(kind.name);
        IEventSinkPtr sink = kind.make(addIn_, static_cast<IConnectionPoint*>(&source));
        EXPECT_TRUE(FAILED(sink->Advise(static_cast<IConnectionPoint*>(&source))));
        EXPECT_THAT(sink->Unadvise(), IsStatus(S_OK));
        sink = nullptr;
        EXPECT_EQ(source.references, 0u);
    }
}

TEST_F(Sinks, EventInsideTheDisconnectionReachesNobody) {
    OddSource source;
    IEventSinkPtr sink = MakeSink<InspectorEventsSink>(addIn_, static_cast<IConnectionPoint*>(&source));
    DisconnectSink(sink);
    sink = nullptr;
    EXPECT_EQ(source.references, 0u);
    EXPECT_THAT(LogTexts(L"InspectorEventsSink::Invoke"), ElementsAre(L"2 DispId: 61448"))
        << "the add-in would ask for the item of a window that is null";
}

TEST_F(Sinks, EventsThatDoNotMatterAreNotImplementedAndNotLogged) {
    for (const Kind& kind : Kinds()) {
        SCOPED_TRACE(kind.name);
        const IEventSinkPtr sink = kind.make(addIn_, kind.source(*host_));
        LogCapture::Clear();
        DISPPARAMS none = {};
        for (const DISPID event : {0, 1, -1, 0xF001, 0xF002, 0xF003, 0xF004, 0xF005, 0xF006, 0xF007, 0xF008, 0xF009,
                                   0xF00A, 0xF466, 0xFA75, 0xFBAD, 0xFC02, 0xFC8C, 0xFC99}) {
            if (std::find(kind.handled.begin(), kind.handled.end(), event) == kind.handled.end()) {
                EXPECT_THAT(Invoke(sink, event, &none), IsStatus(E_NOTIMPL)) << std::hex << event;
            }
        }
        for (const wchar_t* name :
             {L"ExplorersEventsSink::Invoke", L"ExplorerEventsSink::Invoke", L"InspectorsEventsSink::Invoke",
              L"InspectorEventsSink::Invoke", L"ItemEventsSink::Invoke"}) {
            EXPECT_THAT(LogTexts(name), IsEmpty());
        }
        sink->Unadvise();
    }
}

TEST_F(Sinks, NewWindowEventsTakeExactlyOneObject) {
    const workbench::ExplorerPtr explorer = host_->OpenExplorer();
    const workbench::InspectorPtr inspector = host_->OpenInspector(host_->NewAppointment());
    for (const Kind& kind : {Kinds()[0], Kinds()[2]}) {
        SCOPED_TRACE(kind.name);
        const std::wstring log =
            kind.name == std::string("explorers") ? L"ExplorersEventsSink::Invoke" : L"InspectorsEventsSink::Invoke";
        const DispatchPtr window = kind.name == std::string("explorers") ? explorer->Dispatch() : inspector->Dispatch();
        IEventSinkPtr sink = kind.make(addIn_, kind.source(*host_));
        const size_t advised = host_->AdvisedSinks().size();
        DispatchPtr object = window;
        IDispatch* raw = object;
        _variant_t asObject(raw);
        _variant_t asUnknown(static_cast<IUnknown*>(raw));
        VARIANT byReference = {};
        byReference.vt = VT_BYREF | VT_DISPATCH;
        byReference.ppdispVal = &raw;
        const VARIANT empty = {};
        const _variant_t text(L"window");
        const std::vector<std::vector<VARIANT>> wrong = {
            {}, {empty}, {text}, {asUnknown}, {byReference}, {asObject, asObject}, {asObject, empty}};
        for (const std::vector<VARIANT>& arguments : wrong) {
            SCOPED_TRACE(testing::Message() << arguments.size() << " arguments, the first of type "
                                            << (arguments.empty() ? 0 : arguments[0].vt));
            LogCapture::Clear();
            std::vector<VARIANT> given = arguments;
            DISPPARAMS params = {given.data(), nullptr, static_cast<UINT>(given.size()), 0};
            EXPECT_THAT(Invoke(sink, 0xF001, &params), IsStatus(E_INVALIDARG));
            EXPECT_THAT(LogTexts(log), ElementsAre(L"2 DispId: 61441", L"0 Invalid params."));
            EXPECT_EQ(host_->AdvisedSinks().size(), advised);
        }
        EXPECT_THAT(Invoke(sink, 0xF001, nullptr), IsStatus(E_INVALIDARG));
        // Nothing, or something that is no such window: taken, and nothing follows.
        for (const DispatchPtr& other : {DispatchPtr(), host_->Application()}) {
            _variant_t argument(other.GetInterfacePtr());
            DISPPARAMS params = {&argument, nullptr, 1, 0};
            EXPECT_THAT(Invoke(sink, 0xF001, &params), IsStatus(S_OK));
            EXPECT_EQ(host_->AdvisedSinks().size(), advised);
        }
        DISPPARAMS params = {&asObject, nullptr, 1, 0};
        EXPECT_THAT(Invoke(sink, 0xF001, &params), IsStatus(S_OK));
        EXPECT_GT(host_->AdvisedSinks().size(), advised);
        // Without an add-in the event is dropped.
        sink->SetHandler(nullptr);
        EXPECT_THAT(Invoke(sink, 0xF001, &params), IsStatus(S_OK));
        sink->Unadvise();
    }
}
