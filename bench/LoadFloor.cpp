#include "bench/LoadFloor.h"

#include "bench/HandLog.h"
#include "resources/resource.h"
#include "workbench/host/ComHeaders.h"

#include <objidl.h>
#include <shlobj.h>
#include <gdiplus.h>

namespace bench {
namespace {

using TypeLibPtr = _com_ptr_t<workbench::NamedInterface<ITypeLib, &IID_ITypeLib>>;

void FindRoamingFolder() {
    wchar_t path[MAX_PATH] = {};
    PIDLIST_ABSOLUTE list = nullptr;
    Require(SUCCEEDED(::SHGetSpecialFolderLocation(nullptr, CSIDL_APPDATA, &list)), "no roaming folder");
    ::SHGetPathFromIDListW(list, path);
    ::CoTaskMemFree(list);
}

void LoadLibraryOfTypes(const std::wstring& module) {
    TypeLibPtr library;
    const std::wstring resource = module + L"\\" + std::to_wstring(IDR_TYPELIB);
    Require(SUCCEEDED(::LoadTypeLib(resource.c_str(), &library)), "no type library");
}

void StartGdiplus() {
    const HMODULE gdiplus = ::LoadLibraryW(L"gdiplus.dll");
    const auto found = gdiplus == nullptr ? nullptr : ::GetProcAddress(gdiplus, "GdiplusStartup");
    Require(found != nullptr, "no GDI+");
    const auto start = reinterpret_cast<decltype(&Gdiplus::GdiplusStartup)>(reinterpret_cast<void*>(found));
    const Gdiplus::GdiplusStartupInput input;
    ULONG_PTR token = 0;
    Require(start(&token, &input, nullptr) == Gdiplus::Ok, "GDI+ does not start");
}

void MakeWindow(const wchar_t* name) {
    WNDCLASSEXW windowClass{};
    windowClass.cbSize = sizeof(windowClass);
    windowClass.lpfnWndProc = &::DefWindowProcW;
    windowClass.lpszClassName = name;
    ::RegisterClassExW(&windowClass);
    const HWND window = ::CreateWindowExW(0, name, name, 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
    Require(window != nullptr, "no window");
}

DWORD WINAPI Idle(void*) {
    ::Sleep(INFINITE);
    return 0;
}

} // namespace

void MakePlatformCalls(const std::wstring& module, const std::string& logPath) {
    FindRoamingFolder();
    static HandLog log(logPath);
    log.Write("first line\r\n");
    LoadLibraryOfTypes(module);
    StartGdiplus();
    for (const wchar_t* name : {L"NembraBenchFirst", L"NembraBenchSecond"}) {
        const UniqueHandle thread(::CreateThread(nullptr, 0, &Idle, nullptr, 0, nullptr));
        Require(static_cast<bool>(thread), "no thread");
        MakeWindow(name);
    }
}

} // namespace bench
