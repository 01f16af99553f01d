#include "Outlook/AddIns/ComGuard.h"
#include "Outlook/AddIns/Factory.h"
#include "Outlook/AddIns/ModuleState.h"
#include "Outlook/AddIns/Registrar.h"
#include "resources/Connect.h"
#include "support/AddinLog.h"
#include "support/LogLine.h"

#include <windows.h>

#include <cstdlib>

namespace {

constexpr const wchar_t* kSource = L"DllMain";

bool HasMemory() noexcept {
    void* volatile probe = std::malloc(1); // volatile: otherwise a compiler may remove both calls
    std::free(probe);
    return probe != nullptr;
}

/// Runs under the loader lock, so it does not wait, start a thread or use COM.
void OnProcessAttach(HMODULE module) noexcept {
    ModuleState::module = module;
    if (!HasMemory()) {
        return; // No log either: the runtime has no memory in reserve for an exception and would abort the process.
    }
    OpenAddinLog();
    LogLine(kSource, L"DllMain").Info() << L"Built at " << __DATE__ << L" " << __TIME__;
}

} // namespace

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, void* /*reserved*/) {
    if (reason == DLL_PROCESS_ATTACH) {
        OnProcessAttach(module);
    } else if (reason == DLL_PROCESS_DETACH) {
        CloseAddinLog();
    }
    return TRUE;
}

STDAPI DllGetClassObject(REFCLSID rclsid, REFIID riid, void** ppv) {
    if (ppv != nullptr) {
        *ppv = nullptr;
    }
    return GuardComCall(kSource, L"DllGetClassObject", [&]() -> HRESULT {
        if (rclsid != CLSID_NembraMeeting) {
            return CLASS_E_CLASSNOTAVAILABLE;
        }
        if (ppv == nullptr) {
            return E_POINTER;
        }
        Factory* factory = new Factory; // owned by its reference count, which is 1
        const HRESULT status = factory->QueryInterface(riid, ppv);
        factory->Release();
        return status;
    });
}

STDAPI DllCanUnloadNow() {
    return ModuleState::CanUnload() ? S_OK : S_FALSE;
}

STDAPI DllRegisterServer() {
    return GuardComCall(kSource, L"DllRegisterServer", [] { return Registrar().Register(); });
}

STDAPI DllUnregisterServer() {
    return GuardComCall(kSource, L"DllUnregisterServer", [] { return Registrar().Unregister(); });
}
