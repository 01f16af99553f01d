#include "workbench/verify/core/LogTail.h"
#include "workbench/verify/faults/Hooks.h"
#include "workbench/verify/scenes/Stage.h"

#include "osadapter/include/kosa.h"
#include "osadapter/include/zep.h"
#include "resources/Connect.h"
#include "support/UniqueResource.h"

#include <filesystem>

// The scenes without Outlook.
namespace verify {
namespace {

using GetClassObject = HRESULT STDAPICALLTYPE(REFCLSID, REFIID, void**);
using StatusFunction = HRESULT STDAPICALLTYPE();

/// Class factory, object, and everything let go again.
bool MakeObject(const StagedModule& module) {
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

class ModuleAct : public Act {
public:
    explicit ModuleAct(StagedModule& module) : module_(module) {}
    std::vector<std::string> End() override {
        const bool left = module_.Attached() && Call("DllCanUnloadNow") != S_OK;
        return left ? std::vector<std::string>{"leak: an object of the module is left"} : std::vector<std::string>();
    }

protected:
    HRESULT Call(const char* name) const { return module_.Export<StatusFunction>(name)(); }

    StagedModule& module_;
};

/// DllMain and everything that runs before it, on a module that was mapped but not yet run.
class LoadAct final : public ModuleAct {
public:
    explicit LoadAct(StagedModule& module) : ModuleAct(module) { module_.Reload(); }
    bool Step() override {
        if (tried_ && !module_.Attached()) {
            return true; // the loader has thrown the module out; it is not run again
        }
        tried_ = true;
        return module_.Attach();
    }
    bool Works() override { return !module_.Attached() || MakeObject(module_); }
    std::vector<std::string> End() override {
        auto problems = ModuleAct::End();
        module_.Detach();
        return problems;
    }

private:
    bool tried_ = false;
};

/// The module's end before it was ever connected: afterwards it is pinned.
class UnloadAct final : public ModuleAct {
public:
    explicit UnloadAct(StagedModule& module) : ModuleAct(module) {
        module_.Reload();
        module_.Attach();
        MakeObject(module_);
    }
    bool Step() override {
        module_.Detach();
        return true;
    }
};

template <bool Registered>
class ObjectAct final : public ModuleAct {
public:
    using ModuleAct::ModuleAct;
    void Prepare() override {
        if (!Registered) {
            ::UnRegisterTypeLib(LIBID_NBMOutlookAddin, 1, 0, 0, SYS_WIN64);
        }
    }
    bool Step() override { return MakeObject(module_); }
};

constexpr const wchar_t* kScratch = L"Software\\workbench_faults";
constexpr const wchar_t* kAddIns = L"SOFTWARE\\Microsoft\\Office\\Outlook\\Addins";

UniqueKey MakeKey(HKEY root, const std::wstring& path) {
    HKEY made = nullptr;
    ::RegCreateKeyW(root, path.c_str(), &made);
    return UniqueKey(made);
}

bool HasKey(const UniqueKey& root, const std::wstring& path) {
    HKEY opened = nullptr;
    const bool found = ::RegOpenKeyExW(root.Get(), path.c_str(), 0, KEY_READ, &opened) == ERROR_SUCCESS;
    const UniqueKey owned(opened);
    return found;
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
        return HasKey(classes_, std::wstring(L"CLSID\\") + id) == there &&
               HasKey(classes_, L"NembraMeeting.OutlookAddin") == there &&
               HasKey(classes_, L"NembraMeeting.OutlookAddin.1") == there &&
               HasKey(machine_, std::wstring(kAddIns) + L"\\NembraMeeting.OutlookAddin") == there;
    }

private:
    UniqueKey classes_;
    UniqueKey machine_;
};

template <bool Registers>
class RegistrationAct final : public ModuleAct {
public:
    using ModuleAct::ModuleAct;
    void Prepare() override { Call(Registers ? "DllUnregisterServer" : "DllRegisterServer"); }
    bool Step() override {
        const HRESULT status = Call(Registers ? "DllRegisterServer" : "DllUnregisterServer");
        leaves_ = leaves_ || (Registers && FAILED(status) && !keys_.Hold(false));
        return status == S_OK && keys_.Hold(Registers);
    }
    std::vector<std::string> End() override {
        return leaves_ ? std::vector<std::string>{"a failed registration leaves entries behind"}
                       : std::vector<std::string>();
    }

private:
    ScratchKeys keys_;
    bool leaves_ = false;
};

std::uintmax_t LogSize() {
    std::error_code missing;
    const std::uintmax_t size = std::filesystem::file_size(AddinLogFile(), missing);
    return missing ? 0 : size;
}

/// One line of the log; with `Full`, one that finds the log at its limit.
template <bool Full>
class LogAct final : public ModuleAct {
public:
    explicit LogAct(StagedModule& module) : ModuleAct(module) {
        module_.Reload(); // a log that went silent stays so
        module_.Attach();
    }
    void Prepare() override {
        std::error_code ignored;
        for (int copy = 1; Full && copy <= 2; ++copy) {
            std::filesystem::remove(AddinLogFile(copy), ignored);
        }
    }
    bool Step() override {
        if (Full) {
            PretendLogIsFull();
        }
        const std::uintmax_t before = LogSize();
        if (!MakeObject(module_)) { // writes a line
            return false;
        }
        if (HasStruck()) {
            return true; // a log that could not be opened stays silent, by design, and fails nobody
        }
        return Full ? std::filesystem::exists(AddinLogFile(1)) && LogSize() != 0 : LogSize() > before;
    }
};

/// The exported C functions that allocate or touch files.
class ExportsAct final : public ModuleAct {
public:
    using ModuleAct::ModuleAct;
    void Prepare() override {
        End();
        std::filesystem::create_directories(folder_);
    }
    bool Step() override {
        const bool texts = Texts();
        const bool conversions = Conversions();
        const bool files = Files();
        return texts && conversions && files;
    }
    std::vector<std::string> End() override {
        std::error_code ignored;
        std::filesystem::remove_all(folder_, ignored);
        return {};
    }

private:
// The module's function of that name.
#define EXPORTED(function) module_.Export<decltype(function)>(#function)

    std::string At(const char* name) const {
        return (folder_ / name).string();
    }

    bool Texts() const {
        bool all = true;
        for (void* made : {static_cast<void*>(EXPORTED(KOSA_StrDup)("text")),
                           static_cast<void*>(EXPORTED(KOSA_StrConcat)("a", "b", nullptr)),
                           EXPORTED(KOSA_MemMallocS)(64, 0, __LINE__, "faults"),
                           EXPORTED(KOSA_MemMallocD)(64, __LINE__, "faults")}) {
            all = made != nullptr && all;
            EXPORTED(KOSA_MemFreeD)(made, __LINE__, "faults");
        }
        return all;
    }

    bool Conversions() const {
        bool all = true;
        for (void* made : {static_cast<void*>(EXPORTED(ZEP_Utf8ToUnicodeW)("text")),
                           static_cast<void*>(EXPORTED(ZEP_Utf8ToUnicodeA)("text")),
                           static_cast<void*>(EXPORTED(ZEP_UnicodeToUtf8)(L"text")),
                           static_cast<void*>(EXPORTED(ZEP_UnicodeToLocale)(L"text")),
                           static_cast<void*>(EXPORTED(ZEP_LocaleToUnicodeW)("text")),
                           static_cast<void*>(EXPORTED(ZEP_LocaleToUtf8)("text")),
                           static_cast<void*>(EXPORTED(ZEP_Utf8ToLocale)("text"))}) {
            all = made != nullptr && *static_cast<char*>(made) != 0 && all;
            EXPORTED(ZEP_StrMemFree)(made);
        }
        return all;
    }

    bool Files() const {
        bool all = EXPORTED(KOSA_MkDir_P)(At("deep/er").c_str(), 0755) == 0;
        all = Write("one.txt") && all;
        all = EXPORTED(KOSA_CopyFile)(At("one.txt").c_str(), At("two.txt").c_str()) == 0 && all;
        all = EXPORTED(KOSA_Rename)(At("two.txt").c_str(), At("three.txt").c_str()) == 0 && all;
        all = EXPORTED(KOSA_Access)(At("three.txt").c_str(), 0) == 0 && all;
        all = List() >= 3 && all;
        all = EXPORTED(KOSA_Remove)(At("one.txt").c_str()) == 0 && all;
        return EXPORTED(KOSA_RmDir)(At("deep/er").c_str()) == 0 && all;
    }

    bool Write(const char* name) const {
        FILE* file = EXPORTED(KOSA_Fopen)(At(name).c_str(), "wb");
        if (file == nullptr) {
            return false;
        }
        bool all = EXPORTED(KOSA_Fwrite)("text", 1, 4, file) == 4;
        all = EXPORTED(KOSA_Fprintf)(file, "%d", 7) == 1 && all;
        all = EXPORTED(KOSA_Fflush)(file) == 0 && all;
        return EXPORTED(KOSA_Fclose)(file) == 0 && all;
    }

    int List() const {
        KosaDir* directory = EXPORTED(KOSA_OpenDir)(folder_.string().c_str());
        if (directory == nullptr) {
            return 0;
        }
        int entries = 0;
        while (EXPORTED(KOSA_ReadDir)(directory) != nullptr) {
            ++entries;
        }
        EXPORTED(KOSA_CloseDir)(directory);
        KosaDirEntry** names = nullptr;
        const int found = EXPORTED(KOSA_ScanDir)(folder_.string().c_str(), &names, nullptr, nullptr);
        if (found > 0) {
            EXPORTED(KOSA_DestoryNameList)(names, found);
        }
        return found == entries ? entries : 0;
    }
#undef EXPORTED

    const std::filesystem::path folder_ = std::filesystem::temp_directory_path() / L"faults-exports";
};

template <class Type>
std::unique_ptr<Act> Make(StagedModule& module) {
    return std::make_unique<Type>(module);
}

} // namespace

std::vector<Scene> ModuleScenes() {
    return {
        {"load", false, false, &Make<LoadAct>},
        {"unload", false, false, &Make<UnloadAct>},
        {"object", false, true, &Make<ObjectAct<true>>},
        {"object-unregistered", false, true, &Make<ObjectAct<false>>},
        {"register", false, true, &Make<RegistrationAct<true>>},
        {"unregister", false, true, &Make<RegistrationAct<false>>},
        {"log-line", false, false, &Make<LogAct<false>>},
        {"log-rotation", false, false, &Make<LogAct<true>>},
        {"exports", false, true, &Make<ExportsAct>},
    };
}

} // namespace verify
