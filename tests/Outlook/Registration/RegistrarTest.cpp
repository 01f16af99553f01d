#include "Outlook/AddIns/LogValues.h"
#include "resources/Connect.h"
#include "support/Text.h"
#include "tests/Outlook/Registration/Registry.h"
#include "tests/fakes/AddInModule.h"
#include "tests/fakes/StatusMatcher.h"

#include <gmock/gmock.h>

#include <optional>
#include <utility>

using testing::Contains;
using testing::Key;
using testing::Not;

namespace {

constexpr const wchar_t* kAddInsKey = L"SOFTWARE\\Microsoft\\Office\\Outlook\\Addins";
const std::wstring kProgId = L"NembraMeeting.OutlookAddin";

using ServerFunction = HRESULT(STDAPICALLTYPE*)();
using GetClassObjectFunction = HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, void**);

std::wstring ClassKey() {
    return std::wstring(L"CLSID\\") + IdText(CLSID_NembraMeeting).text;
}

std::string TextEntry(const std::string& text) {
    return "sz(" + std::to_string((text.size() + 1) * sizeof(wchar_t)) + ") " + text + "\\0";
}

/// Takes the module's calls to the registry, counts the writing ones and refuses one of them.
struct CallGate {
    int refused = -1; // index of the call that is denied
    int calls = 0;
    std::map<std::wstring, DWORD> bytesGiven = {}; // last byte count by name of value; L"" is the default value

    bool Deny() { return calls++ == refused; }
};
CallGate g_gate;

LSTATUS APIENTRY GatedCreate(HKEY key, LPCWSTR path, DWORD reserved, LPWSTR keyClass, DWORD options, REGSAM access,
                             LPSECURITY_ATTRIBUTES security, PHKEY result, LPDWORD disposition) {
    return g_gate.Deny()
               ? ERROR_ACCESS_DENIED
               : ::RegCreateKeyExW(key, path, reserved, keyClass, options, access, security, result, disposition);
}

LSTATUS APIENTRY GatedSet(HKEY key, LPCWSTR path, LPCWSTR name, DWORD type, LPCVOID data, DWORD bytes) {
    g_gate.bytesGiven[name != nullptr ? name : L""] = bytes;
    return g_gate.Deny() ? ERROR_ACCESS_DENIED : ::RegSetKeyValueW(key, path, name, type, data, bytes);
}

LSTATUS APIENTRY GatedDeleteTree(HKEY key, LPCWSTR path) {
    return g_gate.Deny() ? ERROR_ACCESS_DENIED : ::RegDeleteTreeW(key, path);
}

LSTATUS APIENTRY GatedDeleteKey(HKEY key, LPCWSTR path) {
    return g_gate.Deny() ? ERROR_ACCESS_DENIED : ::RegDeleteKeyW(key, path);
}

} // namespace

/// The module's registration on two scratch keys that stand for HKEY_CLASSES_ROOT and HKEY_LOCAL_MACHINE, with foreign
/// entries around.
class Registration : public testing::Test {
protected:
    void SetUp() override {
        module_ = ::LoadLibraryW(AddInModulePath().c_str());
        ASSERT_NE(module_, nullptr) << "is OutlookAddIn.dll built?";
        register_ = Find<ServerFunction>("DllRegisterServer");
        unregister_ = Find<ServerFunction>("DllUnregisterServer");
        ASSERT_TRUE(register_ != nullptr && unregister_ != nullptr);

        scratchPath_ = L"Software\\NembraTest\\" + std::to_wstring(::GetCurrentProcessId());
        ::RegDeleteTreeW(HKEY_CURRENT_USER, scratchPath_.c_str()); // an earlier process of this id may have crashed
        scratch_ = MakeKey(HKEY_CURRENT_USER, scratchPath_);
        classes_ = MakeKey(scratch_.Get(), L"classes");
        machine_ = MakeKey(scratch_.Get(), L"machine");
        ASSERT_TRUE(scratch_ && classes_ && machine_);
        PutText(Classes(), L"CLSID", nullptr, L"classes");
        PutText(Classes(), L"CLSID\\{00000000-0000-0000-0000-00000000abcd}\\InprocServer32", nullptr, L"other.dll");
        PutText(Classes(), L"NembraMeeting", nullptr, L"shorter");
        PutText(Classes(), kProgId + L".10\\CLSID", nullptr, L"longer");
        PutText(Machine(), std::wstring(kAddInsKey) + L"\\Other.AddIn", L"FriendlyName", L"Other");
        PutText(Machine(), kAddInsKey, L"Note", L"a value of the list itself");
        foreign_ = ReadImage(scratch_.Get());

        classesOverride_.emplace(HKEY_CLASSES_ROOT, Classes());
        machineOverride_.emplace(HKEY_LOCAL_MACHINE, Machine());
        if (!HasKey(HKEY_CLASSES_ROOT, L"NembraMeeting") || !HasKey(HKEY_LOCAL_MACHINE, kAddInsKey)) {
            GTEST_SKIP() << "RegOverridePredefKey redirects nothing here: " << classesOverride_->Status() << ", "
                         << machineOverride_->Status();
        }
    }

    void TearDown() override {
        g_gate = {};
        machineOverride_.reset();
        classesOverride_.reset();
        EXPECT_EQ(::RegDeleteTreeW(HKEY_CURRENT_USER, scratchPath_.c_str()), ERROR_SUCCESS);
        ::FreeLibrary(module_);
    }

    template <class Function>
    Function Find(const char* name) const {
        return reinterpret_cast<Function>(reinterpret_cast<void*>(::GetProcAddress(module_, name)));
    }

    HKEY Classes() const { return classes_.Get(); }
    HKEY Machine() const { return machine_.Get(); }
    RegistryImage Image() const { return ReadImage(scratch_.Get()); }

    /// The foreign entries and all of the module's.
    RegistryImage RegisteredImage() const {
        const std::string classId = ToUtf8(IdText(CLSID_NembraMeeting).text);
        const std::string name = TextEntry("NembraMeetingOutlookAddin");
        const std::string progId = TextEntry("NembraMeeting.OutlookAddin");
        const std::string classKey = "classes\\CLSID\\" + classId + "\\";
        const std::string progIdKey = "classes\\NembraMeeting.OutlookAddin\\";
        const std::string versionKey = "classes\\NembraMeeting.OutlookAddin.1\\";
        const std::string addInKey = "machine\\" + ToUtf8(kAddInsKey) + "\\NembraMeeting.OutlookAddin\\";
        RegistryImage image = {
            {classKey + "@", name},
            {classKey + "InprocServer32\\@", TextEntry(ToUtf8(AddInModulePath()))},
            {classKey + "InprocServer32\\@ThreadingModel", TextEntry("Apartment")},
            {classKey + "ProgID\\@", progId},
            {classKey + "TypeLib\\@", TextEntry(ToUtf8(IdText(IID_IConnect).text))},
            {classKey + "VersionIndependentProgID\\@", progId},
            {progIdKey + "@", name},
            {progIdKey + "CLSID\\@", TextEntry(classId)},
            {progIdKey + "CurVer\\@", TextEntry("NembraMeeting.OutlookAddin.1")},
            {versionKey + "@", name},
            {versionKey + "CLSID\\@", TextEntry(classId)},
            {addInKey + "@Description", name},
            {addInKey + "@FriendlyName", name},
            {addInKey + "@LoadBehavior", "dword(4) 3"},
        };
        for (const auto& [path, data] : RegistryImage(image)) {
            image[path.substr(0, path.find('@'))] = ""; // the keys that hold the values
        }
        image.insert(foreign_.begin(), foreign_.end());
        return image;
    }

    HMODULE module_ = nullptr;
    ServerFunction register_ = nullptr;
    ServerFunction unregister_ = nullptr;
    std::wstring scratchPath_;
    UniqueKey scratch_;
    UniqueKey classes_;
    UniqueKey machine_;
    RegistryImage foreign_;
    std::optional<RootOverride> classesOverride_;
    std::optional<RootOverride> machineOverride_;
};

TEST_F(Registration, WritesItsEntriesAndTakesThemBackAmongForeignOnes) {
    EXPECT_THAT(register_(), IsStatus(S_OK));
    EXPECT_EQ(Image(), RegisteredImage());

    // Changed values are corrected. Values that others have put into the add-in's key stay as long as the key.
    const std::wstring addInKey = std::wstring(kAddInsKey) + L"\\" + kProgId;
    const DWORD notLoaded = 2;
    ::RegSetKeyValueW(Machine(), addInKey.c_str(), L"LoadBehavior", REG_DWORD, &notLoaded, sizeof(notLoaded));
    PutText(Classes(), ClassKey() + L"\\InprocServer32", nullptr, L"an older path");
    PutText(Machine(), addInKey, L"Own", L"x");
    RegistryImage expected = RegisteredImage();
    expected["machine\\" + ToUtf8(addInKey) + "\\@Own"] = TextEntry("x");
    EXPECT_THAT(register_(), IsStatus(S_OK));
    EXPECT_EQ(Image(), expected);

    EXPECT_THAT(unregister_(), IsStatus(S_OK));
    EXPECT_EQ(Image(), foreign_);
    EXPECT_THAT(unregister_(), IsStatus(S_OK)) << "nothing is left to remove";
    EXPECT_EQ(Image(), foreign_);
}

TEST_F(Registration, GivesTheOutlookTextsWithoutTheirTerminator) {
    const ImportPatch set(module_, "RegSetKeyValueW", reinterpret_cast<void*>(&GatedSet));
    ASSERT_TRUE(set);
    EXPECT_THAT(register_(), IsStatus(S_OK));
    // Stored they have it all the same: the registry takes a terminator that follows the text in memory.
    EXPECT_EQ(g_gate.bytesGiven[L"Description"], 50u);
    EXPECT_EQ(g_gate.bytesGiven[L"FriendlyName"], 50u);
    EXPECT_EQ(g_gate.bytesGiven[L"ThreadingModel"], 20u);
    EXPECT_EQ(g_gate.bytesGiven[L"LoadBehavior"], 4u);
}

TEST_F(Registration, FailsWithoutOutlooksListAndLeavesNothing) {
    ASSERT_EQ(::RegDeleteTreeW(Machine(), kAddInsKey), ERROR_SUCCESS);
    const RegistryImage before = Image();
    EXPECT_THAT(register_(), IsStatus(HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND)));
    EXPECT_EQ(Image(), before);
    EXPECT_THAT(unregister_(), IsStatus(S_OK));
}

TEST_F(Registration, TakesEverythingBackWhereverAWriteIsRefused) {
    const ImportPatch create(module_, "RegCreateKeyExW", reinterpret_cast<void*>(&GatedCreate));
    const ImportPatch set(module_, "RegSetKeyValueW", reinterpret_cast<void*>(&GatedSet));
    ASSERT_TRUE(create && set);
    constexpr int kWrites = 17; // 3 keys made, 14 values set
    for (int refused = 0; refused < kWrites; ++refused) {
        SCOPED_TRACE(refused);
        g_gate = {refused};
        EXPECT_THAT(register_(), IsStatus(E_ACCESSDENIED));
        EXPECT_EQ(g_gate.calls, refused + 1) << "the first failure ends it";
        EXPECT_EQ(Image(), foreign_);
    }
    g_gate = {kWrites};
    EXPECT_THAT(register_(), IsStatus(S_OK)) << "there is a write more";
}

TEST_F(Registration, StopsRemovingAtTheFirstRefusal) {
    const ImportPatch tree(module_, "RegDeleteTreeW", reinterpret_cast<void*>(&GatedDeleteTree));
    const ImportPatch key(module_, "RegDeleteKeyW", reinterpret_cast<void*>(&GatedDeleteKey));
    ASSERT_TRUE(tree && key);
    const std::pair<HKEY, std::wstring> inOrder[] = {
        {Classes(), ClassKey()},
        {Classes(), kProgId},
        {Classes(), kProgId + L".1"},
        {Machine(), std::wstring(kAddInsKey) + L"\\" + kProgId},
    };
    for (int refused = 0; refused < static_cast<int>(ARRAYSIZE(inOrder)); ++refused) {
        SCOPED_TRACE(refused);
        ASSERT_THAT(register_(), IsStatus(S_OK));
        g_gate = {refused};
        EXPECT_THAT(unregister_(), IsStatus(E_ACCESSDENIED));
        for (int each = 0; each < static_cast<int>(ARRAYSIZE(inOrder)); ++each) {
            EXPECT_EQ(HasKey(inOrder[each].first, inOrder[each].second), each >= refused) << "entry " << each;
        }
    }
}

TEST_F(Registration, NeedsAccessToTheKeysItself) {
    const auto registerLocked = [&](HKEY root, const std::wstring& path) {
        const KeyLock lock(root, path);
        EXPECT_THAT(register_(), IsStatus(E_ACCESSDENIED));
    };
    // A key that it may not open is not its to remove either; what it has written before goes.
    MakeKey(Classes(), kProgId);
    RegistryImage before = Image();
    registerLocked(Classes(), kProgId);
    EXPECT_EQ(Image(), before);
    registerLocked(Machine(), kAddInsKey);
    EXPECT_EQ(Image(), foreign_) << "the last step fails, and all is removed";

    ASSERT_THAT(register_(), IsStatus(S_OK));
    before = Image();
    {
        const KeyLock lock(Classes(), ClassKey());
        EXPECT_THAT(unregister_(), IsStatus(E_ACCESSDENIED));
        EXPECT_THAT(register_(), IsStatus(E_ACCESSDENIED)) << "and the taking back stops at the same key";
    }
    EXPECT_EQ(Image(), before);
}

TEST_F(Registration, TheFirstObjectRegistersTheTypeLibraryIfItMay) {
    ASSERT_TRUE(SUCCEEDED(::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)));
    const auto tryToCreate = [&] {
        IClassFactory* factory = nullptr;
        IDispatch* object = nullptr;
        auto* place = reinterpret_cast<void**>(&factory);
        EXPECT_THAT(Find<GetClassObjectFunction>("DllGetClassObject")(CLSID_NembraMeeting, IID_IClassFactory, place),
                    IsStatus(S_OK));
        place = reinterpret_cast<void**>(&object);
        EXPECT_THAT(factory->CreateInstance(nullptr, IID_IDispatch, place), IsStatus(S_OK));
        factory->Release();
        ASSERT_NE(object, nullptr);
        wchar_t name[] = L"OnLoadImage";
        LPOLESTR names = name;
        DISPID id = 0;
        EXPECT_THAT(object->GetIDsOfNames(IID_NULL, &names, 1, 0, &id), IsStatus(S_OK));
        object->Release();
    };
    const std::wstring version = std::wstring(L"TypeLib\\") + IdText(LIBID_NBMOutlookAddin).text + L"\\1.0";
    MakeKey(Classes(), version);
    {
        const KeyLock lock(Classes(), version);
        tryToCreate();
    }
    EXPECT_EQ(RegisteredLibrary(), L"");
    tryToCreate();
    EXPECT_EQ(RegisteredLibrary(), AddInModulePath());
    EXPECT_THAT(Image(), Not(Contains(Key("classes\\" + ToUtf8(ClassKey()) + "\\")))) << "the class is no matter of it";
    ::CoUninitialize();
}
