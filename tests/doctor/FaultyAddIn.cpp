// An add-in whose class object never comes. The name of its file says why.
#include <windows.h>
#include <unknwn.h>

#include <cwchar>
#include <iterator>

namespace {

HINSTANCE g_module = nullptr;

} // namespace

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD, void*) {
    g_module = module;
    return TRUE;
}

STDAPI DllGetClassObject(REFCLSID, REFIID, void**) {
    wchar_t path[MAX_PATH] = L"";
    ::GetModuleFileNameW(g_module, path, static_cast<DWORD>(std::size(path)));
    if (std::wcsstr(path, L"Hang") != nullptr) {
        ::Sleep(INFINITE);
    }
    ::RaiseException(EXCEPTION_ACCESS_VIOLATION, EXCEPTION_NONCONTINUABLE, 0, nullptr);
    return E_FAIL;
}
