#include "workbench/endings/Module.h"

#include "resources/Connect.h"
#include "tests/fakes/AddInModule.h"

#include <objbase.h>

#include <stdexcept>
#include <utility>

namespace endings {
namespace {

template <class Type>
Type FunctionOf(HMODULE module, const char* name) {
    return reinterpret_cast<Type>(reinterpret_cast<void*>(::GetProcAddress(module, name)));
}

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

HRESULT Module::CanUnload() const {
    const auto canUnload = FunctionOf<HRESULT(STDAPICALLTYPE*)()>(module_, "DllCanUnloadNow");
    return canUnload ? canUnload() : E_NOTIMPL;
}

// The look-up fails; the line has been written by then.
void Module::LogBy(IDispatch* object, const std::string& text) {
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

} // namespace endings
