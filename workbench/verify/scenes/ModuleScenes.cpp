#include "workbench/verify/core/LogTail.h"
#include "workbench/verify/faults/Hooks.h"
#include "workbench/verify/faults/Injector.h"
#include "workbench/verify/scenes/Stage.h"

#include "osadapter/include/kosa.h"
#include "osadapter/include/zep.h"
#include "resources/Connect.h"
#include "support/UniqueResource.h"

#include <algorithm>
#include <filesystem>
#include <initializer_list>

// The scenes without Outlook.
namespace verify {
namespace {

using GetClassObject = HRESULT STDAPICALLTYPE(REFCLSID, REFIID, void**);
using StatusFunction = HRESULT STDAPICALLTYPE();

/// Class factory, object, and everything let go again. Writes a line into the log.
bool MakeObject(StagedModule& module) {
    IClassFactory* factory = nullptr;
    if (FAILED(module.Export<GetClassObject>("DllGetClassObject")(CLSID_NembraMeeting, IID_IClassFactory,
                                                                  reinterpret_cast<void**>(&factory)))) {
        return false;
    }
    IConnect* object = nullptr;
    const HRESULT status = factory->CreateInstance(nullptr, IID_IConnect, reinterpret_cast<void**>(&object));
    factory->Release();
    if (FAILED(status)) {
        return false;
    }
    UINT count = 0;
    const bool known = object->GetTypeInfoCount(&count) == S_OK && count == 1;
    return object->Release() == 0 && known;
}

struct ModulePlan {
    const char* name;
    bool (*step)(StagedModule&);
    void (*begin)(StagedModule&) = nullptr; ///< of a scene that loads the module itself
    void (*prepare)(StagedModule&) = nullptr;
};

class ModuleAct : public Act {
public:
    ModuleAct(StagedModule& module, const ModulePlan& plan) : module_(module), plan_(plan) {
        if (plan.begin != nullptr) {
            module.Reload();
            plan.begin(module);
        }
    }
    void Prepare() override {
        if (plan_.prepare != nullptr) {
            plan_.prepare(module_);
        }
    }
    bool Step() override { return plan_.step(module_); }
    bool Works() override { return !module_.Attached() || MakeObject(module_); }
    std::vector<std::string> End() override {
        std::vector<std::string> problems;
        if (module_.Attached() && module_.Export<StatusFunction>("DllCanUnloadNow")() != S_OK) {
            problems.push_back("leak: an object of the module is left");
        }
        if (plan_.begin != nullptr) {
            module_.Detach();
        }
        return problems;
    }

private:
    StagedModule& module_;
    const ModulePlan& plan_;
};

constexpr const wchar_t* kScratch = L"Software\\workbench_verify";
constexpr const wchar_t* kAddIns = L"SOFTWARE\\Microsoft\\Office\\Outlook\\Addins";

UniqueKey MakeKey(HKEY root, const std::wstring& path) {
    HKEY made = nullptr;
    ::RegCreateKeyW(root, path.c_str(), &made);
    return UniqueKey(made);
}

/// The keys that registration writes below, in place of the machine's own while it lives.
class ScratchKeys {
public:
    ScratchKeys() {
        ::RegDeleteTreeW(HKEY_CURRENT_USER, kScratch);
        classes_ = MakeKey(HKEY_CURRENT_USER, std::wstring(kScratch) + L"\\Classes");
        machine_ = MakeKey(HKEY_CURRENT_USER, std::wstring(kScratch) + L"\\Machine");
        MakeKey(machine_.Get(), kAddIns);
        ::RegOverridePredefKey(HKEY_CLASSES_ROOT, classes_.Get());
        ::RegOverridePredefKey(HKEY_LOCAL_MACHINE, machine_.Get());
    }
    ~ScratchKeys() {
        ::RegOverridePredefKey(HKEY_CLASSES_ROOT, nullptr);
        ::RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
        ::RegDeleteTreeW(HKEY_CURRENT_USER, kScratch);
    }
    ScratchKeys(const ScratchKeys&) = delete;
    ScratchKeys& operator=(const ScratchKeys&) = delete;

    /// Whether the class, its names and the add-in are all there (`there`) or all gone.
    bool Hold(bool there) const {
        wchar_t id[40] = {};
        ::StringFromGUID2(CLSID_NembraMeeting, id, 40);
        const auto has = [there](const UniqueKey& root, const std::wstring& path) {
            HKEY opened = nullptr;
            const bool found = ::RegOpenKeyExW(root.Get(), path.c_str(), 0, KEY_READ, &opened) == ERROR_SUCCESS;
            const UniqueKey owned(opened);
            return found == there;
        };
        return has(classes_, std::wstring(L"CLSID\\") + id) && has(classes_, L"NembraMeeting.OutlookAddin") &&
               has(classes_, L"NembraMeeting.OutlookAddin.1") &&
               has(machine_, std::wstring(kAddIns) + L"\\NembraMeeting.OutlookAddin");
    }

private:
    UniqueKey classes_;
    UniqueKey machine_;
};

template <bool Registers>
class RegistrationAct final : public Act {
public:
    explicit RegistrationAct(StagedModule& module) : module_(module) {}
    void Prepare() override { Call(!Registers); }
    bool Step() override {
        const HRESULT status = Call(Registers);
        leaves_ = leaves_ || (Registers && FAILED(status) && !keys_.Hold(false));
        return status == S_OK && keys_.Hold(Registers);
    }
    std::vector<std::string> End() override {
        return leaves_ ? std::vector<std::string>{"a failed registration leaves entries behind"}
                       : std::vector<std::string>();
    }

private:
    HRESULT Call(bool registers) const {
        return module_.Export<StatusFunction>(registers ? "DllRegisterServer" : "DllUnregisterServer")();
    }

    StagedModule& module_;
    ScratchKeys keys_;
    bool leaves_ = false;
};

std::uintmax_t LogSize() {
    std::error_code missing;
    const std::uintmax_t size = std::filesystem::file_size(AddinLogFile(), missing);
    return missing ? 0 : size;
}

void RemoveLogCopies(StagedModule&) {
    std::error_code ignored;
    for (const int copy : {1, 2}) {
        std::filesystem::remove(AddinLogFile(copy), ignored);
    }
}

/// One line of the log; with `Full`, one that finds the log at its limit.
template <bool Full>
bool WriteLine(StagedModule& module) {
    if (Full) {
        PretendLogIsFull();
    }
    const std::uintmax_t before = LogSize();
    if (!MakeObject(module)) {
        return false;
    }
    if (HasStruck()) {
        return true; // a log that could not be opened stays silent, by design, and fails nobody
    }
    return Full ? std::filesystem::exists(AddinLogFile(1)) && LogSize() != 0 : LogSize() > before;
}

void Attach(StagedModule& module) {
    module.Attach();
}

// The exported C functions that allocate or touch files.

std::filesystem::path ExportsFolder() {
    return std::filesystem::temp_directory_path() / L"faults-exports";
}

void MakeExportsFolder(StagedModule&) {
    std::filesystem::remove_all(ExportsFolder());
    std::filesystem::create_directories(ExportsFolder());
}

// The module's function of that name.
#define EXPORTED(function) module.Export<decltype(function)>(#function)

/// In their order, all of them.
bool All(std::initializer_list<bool> results) {
    return std::all_of(results.begin(), results.end(), [](bool result) { return result; });
}

bool Texts(const StagedModule& module) {
    const auto made = [&module](void* block) {
        EXPORTED(KOSA_MemFreeD)(block, __LINE__, "faults");
        return block != nullptr;
    };
    return All({made(EXPORTED(KOSA_StrDup)("text")), made(EXPORTED(KOSA_StrConcat)("a", "b", nullptr)),
                made(EXPORTED(KOSA_MemMallocS)(64, 0, __LINE__, "faults")),
                made(EXPORTED(KOSA_MemMallocD)(64, __LINE__, "faults"))});
}

bool Conversions(const StagedModule& module) {
    const auto made = [&module](void* text) {
        const bool filled = text != nullptr && *static_cast<char*>(text) != 0;
        EXPORTED(ZEP_StrMemFree)(text);
        return filled;
    };
    return All({made(EXPORTED(ZEP_Utf8ToUnicodeW)("text")), made(EXPORTED(ZEP_Utf8ToUnicodeA)("text")),
                made(EXPORTED(ZEP_UnicodeToUtf8)(L"text")), made(EXPORTED(ZEP_UnicodeToLocale)(L"text")),
                made(EXPORTED(ZEP_LocaleToUnicodeW)("text")), made(EXPORTED(ZEP_LocaleToUtf8)("text")),
                made(EXPORTED(ZEP_Utf8ToLocale)("text"))});
}

bool Write(const StagedModule& module, const std::string& path) {
    FILE* const file = EXPORTED(KOSA_Fopen)(path.c_str(), "wb");
    return file != nullptr &&
           All({EXPORTED(KOSA_Fwrite)("text", 1, 4, file) == 4, EXPORTED(KOSA_Fprintf)(file, "%d", 7) == 1,
                EXPORTED(KOSA_Fflush)(file) == 0, EXPORTED(KOSA_Fclose)(file) == 0});
}

/// Both ways of listing a folder find the same. @return the number of entries.
int List(const StagedModule& module, const std::string& folder) {
    KosaDir* directory = EXPORTED(KOSA_OpenDir)(folder.c_str());
    if (directory == nullptr) {
        return 0;
    }
    int entries = 0;
    while (EXPORTED(KOSA_ReadDir)(directory) != nullptr) {
        ++entries;
    }
    EXPORTED(KOSA_CloseDir)(directory);
    KosaDirEntry** names = nullptr;
    const int found = EXPORTED(KOSA_ScanDir)(folder.c_str(), &names, nullptr, nullptr);
    if (found > 0) {
        EXPORTED(KOSA_DestoryNameList)(names, found);
    }
    return found == entries ? entries : 0;
}

bool Files(const StagedModule& module) {
    const auto at = [](const char* name) { return (ExportsFolder() / name).string(); };
    return All({EXPORTED(KOSA_MkDir_P)(at("deep/er").c_str(), 0755) == 0, Write(module, at("one.txt")),
                EXPORTED(KOSA_CopyFile)(at("one.txt").c_str(), at("two.txt").c_str()) == 0,
                EXPORTED(KOSA_Rename)(at("two.txt").c_str(), at("three.txt").c_str()) == 0,
                EXPORTED(KOSA_Access)(at("three.txt").c_str(), 0) == 0, List(module, ExportsFolder().string()) >= 3,
                EXPORTED(KOSA_Remove)(at("one.txt").c_str()) == 0, EXPORTED(KOSA_RmDir)(at("deep/er").c_str()) == 0});
}
#undef EXPORTED

bool UseExports(StagedModule& module) {
    return All({Texts(module), Conversions(module), Files(module)});
}

const ModulePlan kPlans[] = {
    // DllMain and everything that runs before it, on a module that was mapped but not yet run.
    {"load", [](StagedModule& module) { return module.Attach(); }, [](StagedModule&) {}},
    // The module's end before it was ever connected: afterwards it is pinned.
    {"unload",
     [](StagedModule& module) {
         module.Detach();
         return true;
     },
     [](StagedModule& module) {
         module.Attach();
         MakeObject(module);
     }},
    {"object", &MakeObject},
    {"object-unregistered", &MakeObject, nullptr,
     [](StagedModule&) { ::UnRegisterTypeLib(LIBID_NBMOutlookAddin, 1, 0, 0, SYS_WIN64); }},
    {"log-line", &WriteLine<false>, &Attach}, // afresh: a log that went silent stays so
    {"log-rotation", &WriteLine<true>, &Attach, &RemoveLogCopies},
    {"exports", &UseExports, nullptr, &MakeExportsFolder},
};

template <class Type>
std::unique_ptr<Act> Make(StagedModule& module) {
    return std::make_unique<Type>(module);
}

} // namespace

std::vector<Scene> ModuleScenes() {
    std::vector<Scene> scenes = {
        {"register", false, true, &Make<RegistrationAct<true>>},
        {"unregister", false, true, &Make<RegistrationAct<false>>},
    };
    for (const ModulePlan& plan : kPlans) {
        scenes.push_back({plan.name, false, plan.begin == nullptr,
                          [&plan](StagedModule& module) { return std::make_unique<ModuleAct>(module, plan); }});
    }
    return scenes;
}

} // namespace verify
