#include "workbench/faults/Hooks.h"
#include "workbench/faults/Injector.h"
#include "workbench/faults/Scenes.h"

#include "osadapter/include/kosa.h"
#include "osadapter/include/zep.h"
#include "resources/Connect.h"
#include "support/UniqueResource.h"

#include <shlobj.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>

namespace faults {
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

std::vector<std::string> ObjectsLeft(const StagedModule& module) {
    if (module.Export<StatusFunction>("DllCanUnloadNow")() == S_OK) {
        return {};
    }
    return {"leak: an object of the module is left"};
}

/// DllMain and everything that runs before it, on a module that was mapped but not yet run.
class LoadAct final : public Act {
public:
    explicit LoadAct(StagedModule& module) : module_(module) { module_.Reload(); }
    bool Step() override {
        if (tried_ && !module_.Attached()) {
            return true; // the loader has thrown the module out; it is not run again
        }
        tried_ = true;
        return module_.Attach();
    }
    bool Works() override { return !module_.Attached() || MakeObject(module_); }
    std::vector<std::string> End() override {
        auto problems = ObjectsLeft(module_);
        module_.Detach();
        return problems;
    }

private:
    StagedModule& module_;
    bool tried_ = false;
};

/// The module's end before it was ever connected: afterwards it is pinned.
class UnloadAct final : public Act {
public:
    explicit UnloadAct(StagedModule& module) : module_(module) {
        module_.Reload();
        module_.Attach();
        MakeObject(module_);
    }
    bool Step() override {
        module_.Detach();
        return true;
    }

private:
    StagedModule& module_;
};

class ObjectAct final : public Act {
public:
    ObjectAct(StagedModule& module, bool registered) : module_(module), registered_(registered) {}
    void Prepare() override {
        if (!registered_) {
            ::UnRegisterTypeLib(LIBID_NBMOutlookAddin, 1, 0, 0, SYS_WIN64);
        }
    }
    bool Step() override { return MakeObject(module_); }
    std::vector<std::string> End() override { return ObjectsLeft(module_); }

private:
    StagedModule& module_;
    bool registered_;
};

/// The keys that registration writes below, in place of the machine's own while it lives.
class ScratchKeys {
public:
    ScratchKeys() {
        ::RegDeleteTreeW(HKEY_CURRENT_USER, kScratch);
        Open(L"\\Classes", classes_);
        Open(L"\\Machine", machine_);
        HKEY addIns = nullptr;
        ::RegCreateKeyW(machine_.Get(), L"SOFTWARE\\Microsoft\\Office\\Outlook\\Addins", &addIns);
        const UniqueKey owned(addIns);
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
        return Has(classes_, L"CLSID\\" + ClassText()) == there &&
               Has(classes_, L"NembraMeeting.OutlookAddin") == there &&
               Has(classes_, L"NembraMeeting.OutlookAddin.1") == there &&
               Has(machine_, L"SOFTWARE\\Microsoft\\Office\\Outlook\\Addins\\NembraMeeting.OutlookAddin") == there;
    }

private:
    static constexpr const wchar_t* kScratch = L"Software\\workbench_faults";

    static void Open(const wchar_t* name, UniqueKey& key) {
        HKEY opened = nullptr;
        ::RegCreateKeyW(HKEY_CURRENT_USER, (std::wstring(kScratch) + name).c_str(), &opened);
        key.Reset(opened);
    }
    static bool Has(const UniqueKey& root, const std::wstring& path) {
        HKEY opened = nullptr;
        const bool found = ::RegOpenKeyExW(root.Get(), path.c_str(), 0, KEY_READ, &opened) == ERROR_SUCCESS;
        const UniqueKey owned(opened);
        return found;
    }
    static std::wstring ClassText() {
        wchar_t text[40] = {};
        ::StringFromGUID2(CLSID_NembraMeeting, text, 40);
        return text;
    }

    UniqueKey classes_;
    UniqueKey machine_;
};

class RegistrationAct final : public Act {
public:
    RegistrationAct(StagedModule& module, bool registers) : module_(module), registers_(registers) {}
    void Prepare() override { Call(registers_ ? "DllUnregisterServer" : "DllRegisterServer"); }
    bool Step() override {
        const HRESULT status = Call(registers_ ? "DllRegisterServer" : "DllUnregisterServer");
        if (registers_ && FAILED(status) && !keys_.Hold(false)) {
            problems_.push_back("a failed registration leaves entries behind");
        }
        return status == S_OK && keys_.Hold(registers_);
    }
    std::vector<std::string> End() override { return problems_; }

private:
    HRESULT Call(const char* name) const { return module_.Export<StatusFunction>(name)(); }

    StagedModule& module_;
    bool registers_;
    ScratchKeys keys_;
    std::vector<std::string> problems_;
};

std::filesystem::path LogFolder() {
    wchar_t path[MAX_PATH] = {};
    ::SHGetFolderPathW(nullptr, CSIDL_APPDATA, nullptr, 0, path);
    return std::filesystem::path(path) / L"NembraMeeting" / L"log";
}

/// One line of the log; with `full`, one that finds the log at its limit.
class LogAct final : public Act {
public:
    LogAct(StagedModule& module, bool full) : module_(module), full_(full) {
        module_.Reload(); // a log that went silent stays so
        module_.Attach();
    }
    void Prepare() override {
        std::error_code ignored;
        if (full_) {
            std::filesystem::remove(LogFolder() / L"outlookaddin_1.txt", ignored);
            std::filesystem::remove(LogFolder() / L"outlookaddin_2.txt", ignored);
        }
    }
    bool Step() override {
        if (full_) {
            PretendLogIsFull();
        }
        const std::uintmax_t before = Size();
        if (!MakeObject(module_)) { // writes a line
            return false;
        }
        if (Struck() != nullptr) {
            return true; // a log that could not be opened stays silent, by design, and fails nobody
        }
        return full_ ? std::filesystem::exists(LogFolder() / L"outlookaddin_1.txt") && Size() != 0 : Size() > before;
    }

private:
    static std::uintmax_t Size() {
        std::error_code missing;
        const std::uintmax_t size = std::filesystem::file_size(LogFolder() / L"outlookaddin.txt", missing);
        return missing ? 0 : size;
    }

    StagedModule& module_;
    bool full_;
};

/// The exported C functions that allocate or touch files.
class ExportsAct final : public Act {
public:
    explicit ExportsAct(StagedModule& module)
        : module_(module), folder_(std::filesystem::temp_directory_path() / L"faults-exports") {}
    void Prepare() override {
        std::error_code ignored;
        std::filesystem::remove_all(folder_, ignored);
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
    template <class Function>
    Function* Get(const char* name) const {
        return module_.Export<Function>(name);
    }
    std::string At(const char* name) const { return (folder_ / name).string(); }

    bool Texts() const {
        const auto release = Get<decltype(KOSA_MemFreeD)>("KOSA_MemFreeD");
        bool all = true;
        for (void* made : {static_cast<void*>(Get<decltype(KOSA_StrDup)>("KOSA_StrDup")("text")),
                           static_cast<void*>(Get<decltype(KOSA_StrConcat)>("KOSA_StrConcat")("a", "b", nullptr)),
                           Get<decltype(KOSA_MemMallocS)>("KOSA_MemMallocS")(64, 0, __LINE__, "faults"),
                           Get<decltype(KOSA_MemMallocD)>("KOSA_MemMallocD")(64, __LINE__, "faults")}) {
            all = made != nullptr && all;
            release(made, __LINE__, "faults");
        }
        return all;
    }

    bool Conversions() const {
        const auto release = Get<decltype(ZEP_StrMemFree)>("ZEP_StrMemFree");
        bool all = true;
        for (void* made : {static_cast<void*>(Get<decltype(ZEP_Utf8ToUnicodeW)>("ZEP_Utf8ToUnicodeW")("text")),
                           static_cast<void*>(Get<decltype(ZEP_Utf8ToUnicodeA)>("ZEP_Utf8ToUnicodeA")("text")),
                           static_cast<void*>(Get<decltype(ZEP_UnicodeToUtf8)>("ZEP_UnicodeToUtf8")(L"text")),
                           static_cast<void*>(Get<decltype(ZEP_UnicodeToLocale)>("ZEP_UnicodeToLocale")(L"text")),
                           static_cast<void*>(Get<decltype(ZEP_LocaleToUnicodeW)>("ZEP_LocaleToUnicodeW")("text")),
                           static_cast<void*>(Get<decltype(ZEP_LocaleToUtf8)>("ZEP_LocaleToUtf8")("text")),
                           static_cast<void*>(Get<decltype(ZEP_Utf8ToLocale)>("ZEP_Utf8ToLocale")("text"))}) {
            all = made != nullptr && *static_cast<char*>(made) != 0 && all;
            release(made);
        }
        return all;
    }

    bool Files() const {
        bool all = Get<decltype(KOSA_MkDir_P)>("KOSA_MkDir_P")(At("deep/er").c_str(), 0755) == 0;
        all = Write("one.txt") && all;
        all = Get<decltype(KOSA_CopyFile)>("KOSA_CopyFile")(At("one.txt").c_str(), At("two.txt").c_str()) == 0 && all;
        all = Get<decltype(KOSA_Rename)>("KOSA_Rename")(At("two.txt").c_str(), At("three.txt").c_str()) == 0 && all;
        all = Get<decltype(KOSA_Access)>("KOSA_Access")(At("three.txt").c_str(), 0) == 0 && all;
        all = List() >= 3 && all;
        all = Get<decltype(KOSA_Remove)>("KOSA_Remove")(At("one.txt").c_str()) == 0 && all;
        return Get<decltype(KOSA_RmDir)>("KOSA_RmDir")(At("deep/er").c_str()) == 0 && all;
    }

    bool Write(const char* name) const {
        FILE* file = Get<decltype(KOSA_Fopen)>("KOSA_Fopen")(At(name).c_str(), "wb");
        if (file == nullptr) {
            return false;
        }
        bool all = Get<decltype(KOSA_Fwrite)>("KOSA_Fwrite")("text", 1, 4, file) == 4;
        all = Get<decltype(KOSA_Fprintf)>("KOSA_Fprintf")(file, "%d", 7) == 1 && all;
        all = Get<decltype(KOSA_Fflush)>("KOSA_Fflush")(file) == 0 && all;
        return Get<decltype(KOSA_Fclose)>("KOSA_Fclose")(file) == 0 && all;
    }

    int List() const {
        KosaDir* directory = Get<decltype(KOSA_OpenDir)>("KOSA_OpenDir")(folder_.string().c_str());
        if (directory == nullptr) {
            return 0;
        }
        int entries = 0;
        while (Get<decltype(KOSA_ReadDir)>("KOSA_ReadDir")(directory) != nullptr) {
            ++entries;
        }
        Get<decltype(KOSA_CloseDir)>("KOSA_CloseDir")(directory);
        KosaDirEntry** names = nullptr;
        const int found =
            Get<decltype(KOSA_ScanDir)>("KOSA_ScanDir")(folder_.string().c_str(), &names, nullptr, nullptr);
        if (found > 0) {
            Get<decltype(KOSA_DestoryNameList)>("KOSA_DestoryNameList")(names, found);
        }
        return found == entries ? entries : 0;
    }

    StagedModule& module_;
    std::filesystem::path folder_;
};

template <class Type, auto... Arguments>
std::unique_ptr<Act> Make(StagedModule& module) {
    return std::make_unique<Type>(module, Arguments...);
}

} // namespace

std::vector<Scene> ModuleScenes() {
    return {
        {"load", false, false, &Make<LoadAct>},
        {"unload", false, false, &Make<UnloadAct>},
        {"object", false, true, &Make<ObjectAct, true>},
        {"object-unregistered", false, true, &Make<ObjectAct, false>},
        {"register", false, true, &Make<RegistrationAct, true>},
        {"unregister", false, true, &Make<RegistrationAct, false>},
        {"log-line", false, false, &Make<LogAct, false>},
        {"log-rotation", false, false, &Make<LogAct, true>},
        {"exports", false, true, &Make<ExportsAct>},
    };
}

} // namespace faults
