#include "bench/LoadFloor.h"

#include "bench/HandLog.h"
#include "bench/Measure.h"
#include "bench/Sample.h"
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

void LoadGdiplus() {
    Require(::LoadLibraryW(L"gdiplus.dll") != nullptr, "no GDI+");
}

void StartGdiplus() {
    const auto found = ::GetProcAddress(::GetModuleHandleW(L"gdiplus.dll"), "GdiplusStartup");
    Require(found != nullptr, "no GDI+");
    const auto start = reinterpret_cast<decltype(&Gdiplus::GdiplusStartup)>(reinterpret_cast<void*>(found));
    const Gdiplus::GdiplusStartupInput input;
    ULONG_PTR token = 0;
    Require(start(&token, &input, nullptr) == Gdiplus::Ok, "GDI+ does not start");
}

void MakeWindow(const wchar_t* name, HWND parent) {
    WNDCLASSEXW windowClass{};
    windowClass.cbSize = sizeof(windowClass);
    windowClass.lpfnWndProc = &::DefWindowProcW;
    windowClass.lpszClassName = name;
    ::RegisterClassExW(&windowClass);
    const HWND window = ::CreateWindowExW(0, name, nullptr, 0, 0, 0, 0, 0, parent, nullptr, nullptr, nullptr);
    Require(window != nullptr, "no window");
}

DWORD WINAPI Wait(void*) {
    ::Sleep(INFINITE);
    return 0;
}

/// The channel's window is made on a thread of its own; nobody waits for it.
DWORD WINAPI MakeWindowAndWait(void* nothing) {
    MakeWindow(L"NembraBenchChannel", HWND_MESSAGE);
    return Wait(nothing);
}

} // namespace

std::vector<double> MakePlatformCalls(const std::wstring& module, const std::string& logPath) {
    static HandLog* log = nullptr; // stays open, as a log does
    std::vector<double> stages;
    const auto time = [&stages](const auto& call) {
        const int64_t start = Now();
        call();
        stages.push_back(Microseconds(Now() - start));
    };
    time(&LoadGdiplus);
    time(&FindRoamingFolder);
    time([&] {
        log = new HandLog(logPath);
        log->Write("first line\r\n");
    });
    time([&] { LoadLibraryOfTypes(module); });
    time(&StartGdiplus);
    time([] {
        StartThread(&MakeWindowAndWait);
        StartThread(&Wait);
        MakeWindow(L"NembraBenchNotify", nullptr);
    });
    return stages;
}

} // namespace bench
