#include "workbench/verify/endings/Endings.h"

#include "workbench/verify/core/LogTail.h"

#include "resources/Connect.h"
#include "tests/fakes/AddInModule.h"

#include <windows.h>
#include <objbase.h>

#include <stdexcept>
#include <utility>

namespace verify {
namespace {

IDispatch* MakeObject(HMODULE module) {
    using GetClassObject = HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, LPVOID*);
    const auto getClassObject = FunctionOf<GetClassObject>(module, "DllGetClassObject");
    void* factory = nullptr;
    void* object = nullptr;
    if (getClassObject && SUCCEEDED(getClassObject(CLSID_NembraMeeting, IID_IClassFactory, &factory))) {
        static_cast<IClassFactory*>(factory)->CreateInstance(nullptr, IID_IDispatch, &object);
        static_cast<IClassFactory*>(factory)->Release();
    }
    return static_cast<IDispatch*>(object);
}

} // namespace

int RunEndings(const EndingOptions& options) {
    if (!options.child.empty()) {
        ReportCrashes();
        ::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
        const std::vector<std::string> words(options.child.begin() + 1, options.child.end());
        const std::string& part = options.child.front();
        return part == "cycles" ? PlayCycles(words) : part == "write" ? PlayWriter(words) : PlayExit(words);
    }
    Say("seed {}", options.seed);
    Report report;
    report.Row("seed", options.seed);
    using Part = void(const EndingOptions&, Report&);
    const std::pair<std::string, Part*> parts[] = {{"cycles", &RunCycles}, {"exits", &RunExits}, {"log", &RunLog}};
    for (const auto& [name, run] : parts) {
        try {
            if (options.part.empty() || options.part == name) {
                Say("{}", name);
                run(options, report);
            }
        } catch (const std::exception& error) {
            report.Violation(error.what());
        }
    }
    return report.Tell();
}

void DeleteLogs() {
    for (int copy = 0; copy <= 2; ++copy) {
        std::error_code ignored; // it may not be there
        std::filesystem::remove(AddinLogFile(copy), ignored);
    }
}

process::ChildProcess StartEnding(std::vector<std::wstring> words) {
    words.insert(words.begin(), {L"endings", L"--child"});
    return StartChild(words);
}

Module::Module() : module_(::LoadLibraryExW(AddInModulePath().c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH)) {
    object_ = module_ ? MakeObject(module_) : nullptr;
    if (!object_) {
        throw std::runtime_error("OutlookAddIn.dll could not be loaded; build it first");
    }
}

Module::~Module() {
    ReleaseObject();
    Free();
}

HRESULT Module::CanUnload(HMODULE module) {
    const auto canUnload = FunctionOf<HRESULT(STDAPICALLTYPE*)()>(module, "DllCanUnloadNow");
    return canUnload ? canUnload() : E_NOTIMPL;
}

// The look-up fails; the line has been written by then.
void Module::Log(IDispatch* object, const std::string& text) {
    std::wstring name(text.begin(), text.end()); // ASCII
    LPOLESTR names = name.data();
    DISPID unused = DISPID_UNKNOWN;
    object->GetIDsOfNames(IID_NULL, &names, 1, 0, &unused);
}

ULONG Module::ReleaseObject() {
    IDispatch* const object = std::exchange(object_, nullptr);
    return object ? object->Release() : 0;
}

void Module::Free() {
    if (HMODULE module = std::exchange(module_, nullptr)) {
        ::FreeLibrary(module);
    }
}

bool Module::IsMapped() {
    return ::GetModuleHandleW(L"OutlookAddIn.dll") != nullptr;
}

} // namespace verify
