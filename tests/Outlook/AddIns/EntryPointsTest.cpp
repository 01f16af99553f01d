#include "tests/Outlook/AddIns/AddInFixture.h"

#include "Outlook/AddIns/OfficeInterfaces.h"
#include "resources/Connect.h"

namespace {

using GetClassObjectFunction = HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, void**);
using CanUnloadFunction = HRESULT(STDAPICALLTYPE*)();

void* const kJunk = reinterpret_cast<void*>(0x5a5a);

template <class Interface>
_com_ptr_t<workbench::NamedInterface<Interface, &IID_IUnknown>> Own(void* object) {
    return {static_cast<Interface*>(object), false};
}

} // namespace

/// The module's entry points and the object behind them, without a host.
class EntryPoints : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(SUCCEEDED(::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)));
        module_ = ::LoadLibraryW(AddInModulePath().c_str());
        ASSERT_NE(module_, nullptr);
        const auto find = [&](const char* name) { return reinterpret_cast<void*>(::GetProcAddress(module_, name)); };
        getClassObject_ = reinterpret_cast<GetClassObjectFunction>(find("DllGetClassObject"));
        canUnload_ = reinterpret_cast<CanUnloadFunction>(find("DllCanUnloadNow"));
        ASSERT_TRUE(getClassObject_ != nullptr && canUnload_ != nullptr);
    }
    void TearDown() override {
        EXPECT_THAT(canUnload_(), IsStatus(S_OK)) << "an object or a lock is left";
        ::FreeLibrary(module_);
        ::CoUninitialize();
    }

    auto Factory() {
        void* factory = nullptr;
        EXPECT_THAT(getClassObject_(CLSID_NembraMeeting, IID_IClassFactory, &factory), IsStatus(S_OK));
        return Own<IClassFactory>(factory);
    }
    UnknownPtr NewAddIn() {
        void* object = nullptr;
        EXPECT_THAT(Factory()->CreateInstance(nullptr, IID_IUnknown, &object), IsStatus(S_OK));
        return UnknownPtr(static_cast<IUnknown*>(object), false);
    }

    AddinLogReader log_;
    HMODULE module_ = nullptr;
    GetClassObjectFunction getClassObject_ = nullptr;
    CanUnloadFunction canUnload_ = nullptr;
};

// A suite, so a process, of its own: the module is loaded for the first time in it.
class FirstLoad : public EntryPoints {};

TEST_F(FirstLoad, WritesWhenTheModuleWasBuilt) {
    EXPECT_THAT(log_.Lines(), Contains(MatchesRegex("Inf DllMain Built at ... .. 20.. ..:..:..")));
}

TEST_F(EntryPoints, OnlyTheOwnClassHasAFactory) {
    struct Case {
        const char* name;
        REFCLSID classId;
        REFIID interfaceId;
        bool hasPlace;
        HRESULT result;
    };
    const Case cases[] = {
        {"foreign class", IID_IConnect, IID_IClassFactory, true, CLASS_E_CLASSNOTAVAILABLE},
        {"foreign class, no place", CLSID_NULL, IID_IClassFactory, false, CLASS_E_CLASSNOTAVAILABLE},
        {"no place", CLSID_NembraMeeting, IID_IClassFactory, false, E_POINTER},
        {"no such interface", CLSID_NembraMeeting, IID_IDispatch, true, E_NOINTERFACE},
        {"factory", CLSID_NembraMeeting, IID_IClassFactory, true, S_OK},
        {"unknown", CLSID_NembraMeeting, IID_IUnknown, true, S_OK},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        void* factory = nullptr;
        EXPECT_THAT(getClassObject_(each.classId, each.interfaceId, each.hasPlace ? &factory : nullptr),
                    IsStatus(each.result));
        ASSERT_EQ(factory != nullptr, each.result == S_OK);
        if (factory != nullptr) {
            EXPECT_EQ(static_cast<IUnknown*>(factory)->Release(), 0u);
        }
    }
}

TEST_F(EntryPoints, TheFactoryChecksItsArgumentsInOrder) {
    const auto factory = Factory();
    void* found = kJunk;
    EXPECT_THAT(factory->QueryInterface(IID_IUnknown, nullptr), IsStatus(E_POINTER));
    EXPECT_THAT(factory->QueryInterface(IID_IDispatch, &found), IsStatus(E_NOINTERFACE));
    EXPECT_EQ(found, nullptr);

    const UnknownPtr outer = NewAddIn();
    // Aggregation is refused before anything else is looked at.
    EXPECT_THAT(factory->CreateInstance(outer, IID_IUnknown, nullptr), IsStatus(CLASS_E_NOAGGREGATION));
    EXPECT_THAT(log_.NewLines(), Contains("Err Factory::CreateInstance composition not supported."));
    EXPECT_THAT(factory->CreateInstance(nullptr, IID_IUnknown, nullptr), IsStatus(E_POINTER));
    EXPECT_THAT(log_.NewLines(), Contains("Err Factory::CreateInstance ppvObject is nullptr."));
    found = kJunk;
    EXPECT_THAT(factory->CreateInstance(nullptr, IID_IClassFactory, &found), IsStatus(E_NOINTERFACE));
    EXPECT_EQ(found, nullptr);
    EXPECT_THAT(log_.NewLines(), testing::AllOf(Contains(StartsWith("Inf Factory::CreateInstance riid: {00000001-")),
                                                Contains(StartsWith("Err AddIn::QueryInterface no interface: {0000")),
                                                Contains("Inf AddIn::Release freed")));
}

TEST_F(EntryPoints, ALockAndALivingObjectEachKeepTheModule) {
    EXPECT_THAT(canUnload_(), IsStatus(S_OK));
    const auto factory = Factory();
    EXPECT_THAT(canUnload_(), IsStatus(S_OK)) << "a factory alone keeps nothing";
    EXPECT_THAT(factory->LockServer(TRUE), IsStatus(S_OK));
    EXPECT_THAT(factory->LockServer(TRUE), IsStatus(S_OK));
    EXPECT_THAT(log_.NewLines(), Contains("Inf Factory::LockServer Server count: 2"));
    UnknownPtr addIn = NewAddIn();
    factory->LockServer(FALSE);
    factory->LockServer(FALSE);
    EXPECT_THAT(log_.NewLines(), Contains("Inf Factory::LockServer Server count: 0"));
    EXPECT_THAT(canUnload_(), IsStatus(S_FALSE)) << "the object lives";
    factory->LockServer(TRUE);
    addIn = nullptr;
    EXPECT_THAT(canUnload_(), IsStatus(S_FALSE)) << "the lock is held";
    factory->LockServer(FALSE);
}

TEST_F(EntryPoints, EachInterfaceHasItsPlaceInTheObject) {
    const UnknownPtr addIn = NewAddIn();
    const auto pointerFor = [&](REFIID id) {
        void* found = kJunk;
        EXPECT_THAT(addIn->QueryInterface(id, &found), IsStatus(S_OK));
        static_cast<IUnknown*>(found)->Release();
        return found;
    };
    void* identity = addIn.GetInterfacePtr();
    EXPECT_EQ(pointerFor(IID_IUnknown), identity);
    EXPECT_EQ(pointerFor(IID_IDispatch), identity);
    EXPECT_EQ(pointerFor(IID_IConnect), identity);
    void* extensibility = pointerFor(__uuidof(_IDTExtensibility2));
    void* ribbon = pointerFor(__uuidof(IRibbonExtensibility));
    EXPECT_EQ(static_cast<char*>(extensibility), static_cast<char*>(identity) + sizeof(void*));
    EXPECT_EQ(static_cast<char*>(ribbon), static_cast<char*>(extensibility) + sizeof(void*));

    // From every base the same object answers, and an id that it lacks leaves the count as it was.
    addIn->AddRef();
    for (void* base : {identity, extensibility, ribbon}) {
        void* found = nullptr;
        EXPECT_THAT(static_cast<IUnknown*>(base)->QueryInterface(IID_IUnknown, &found), IsStatus(S_OK));
        EXPECT_EQ(found, identity);
        static_cast<IUnknown*>(found)->Release();
        found = kJunk;
        EXPECT_THAT(static_cast<IUnknown*>(base)->QueryInterface(IID_IOleWindow, &found), IsStatus(E_NOINTERFACE));
        EXPECT_EQ(found, nullptr);
        EXPECT_THAT(static_cast<IUnknown*>(base)->QueryInterface(IID_IUnknown, nullptr), IsStatus(E_POINTER));
    }
    EXPECT_THAT(log_.NewLines(), Contains("Err AddIn::QueryInterface ppv is nullptr."));
    EXPECT_EQ(addIn->Release(), 1u);
}

TEST_F(EntryPoints, LateBindingFollowsTheTypeLibrary) {
    const UnknownPtr addIn = NewAddIn();
    IDispatch* dispatch = static_cast<IDispatch*>(static_cast<void*>(addIn.GetInterfacePtr()));
    UINT count = 7;
    EXPECT_THAT(dispatch->GetTypeInfoCount(&count), IsStatus(S_OK));
    EXPECT_EQ(count, 1u);
    EXPECT_THAT(dispatch->GetTypeInfoCount(nullptr), IsStatus(E_POINTER));
    EXPECT_THAT(log_.NewLines(), Contains("Err AddIn::GetTypeInfoCount Invalid param."));
    ITypeInfo* info = nullptr;
    EXPECT_THAT(dispatch->GetTypeInfo(1, 0, nullptr), IsStatus(DISP_E_BADINDEX));
    EXPECT_THAT(dispatch->GetTypeInfo(1, 0, &info), IsStatus(DISP_E_BADINDEX));
    EXPECT_THAT(dispatch->GetTypeInfo(0, 0, nullptr), IsStatus(E_POINTER));
    ASSERT_THAT(dispatch->GetTypeInfo(0, 0, &info), IsStatus(S_OK));
    info->Release();

    wchar_t known[] = L"OnLoad";
    wchar_t unknown[] = L"OnClose";
    LPOLESTR text = known;
    DISPID id = 0;
    EXPECT_THAT(dispatch->GetIDsOfNames(IID_NULL, &text, 1, 0, &id), IsStatus(S_OK));
    EXPECT_EQ(id, 0x60020005);
    EXPECT_THAT(dispatch->GetIDsOfNames(IID_IUnknown, &text, 1, 0, &id), IsStatus(DISP_E_UNKNOWNINTERFACE));
    EXPECT_THAT(log_.NewLines(), Contains("Inf AddIn::GetIDsOfNames rgszName: OnLoad"));
    text = unknown;
    EXPECT_THAT(dispatch->GetIDsOfNames(IID_NULL, &text, 1, 0, &id), IsStatus(DISP_E_UNKNOWNNAME));
}

TEST_F(EntryPoints, InvokeClearsTheErrorInfoAndReachesTheMethod) {
    const UnknownPtr addIn = NewAddIn();
    IDispatch* dispatch = static_cast<IDispatch*>(static_cast<void*>(addIn.GetInterfacePtr()));
    ICreateErrorInfo* create = nullptr;
    ASSERT_THAT(::CreateErrorInfo(&create), IsStatus(S_OK));
    IErrorInfo* old = nullptr;
    create->QueryInterface(IID_IErrorInfo, reinterpret_cast<void**>(&old));
    create->Release();
    ::SetErrorInfo(0, old);
    old->Release();

    VARIANT argument = {};
    argument.vt = VT_DISPATCH; // a null ribbon: OnLoad takes it
    DISPPARAMS parameters = {&argument, nullptr, 1, 0};
    EXPECT_THAT(dispatch->Invoke(0x60020005, IID_IUnknown, 0, DISPATCH_METHOD, &parameters, nullptr, nullptr, nullptr),
                IsStatus(DISP_E_UNKNOWNINTERFACE));
    EXPECT_THAT(dispatch->Invoke(0x60020005, IID_NULL, 0, DISPATCH_METHOD, &parameters, nullptr, nullptr, nullptr),
                IsStatus(S_OK));
    IErrorInfo* left = nullptr;
    EXPECT_THAT(::GetErrorInfo(0, &left), IsStatus(S_FALSE));
    EXPECT_THAT(dispatch->Invoke(0x60020006, IID_NULL, 0, DISPATCH_METHOD, &parameters, nullptr, nullptr, nullptr),
                IsStatus(DISP_E_MEMBERNOTFOUND));
}
