#include "workbench/faults/Hook.h"
#include "workbench/faults/Hooks.h"

#include "workbench/faults/Blocks.h"

#include <winsock2.h>
#include <windows.h>
#include <oleauto.h>
#include <olectl.h>
#include <shellapi.h>
#include <shlobj.h>
#include <shlwapi.h>

#include <algorithm>
namespace Gdiplus {
using std::max;
using std::min;
} // namespace Gdiplus
#include <objidl.h>
#include <gdiplus.h>

// The name and the type of a function in one.
#define FAULT_HOOK(function) MakeHook<#function, decltype(::function)>
#define FAULT_GDIPLUS(function) MakeHook<#function, decltype(Gdiplus::DllExports::function)>

namespace faults {
namespace {

constexpr KindMask kGdiplus = Mask(Kind::Gdiplus);
constexpr KindMask kWindows = Mask(Kind::Windows);
constexpr KindMask kMessages = Mask(Kind::Messages);
constexpr KindMask kResources = Mask(Kind::Resources);
constexpr KindMask kRegistry = Mask(Kind::Registry);
constexpr KindMask kShell = Mask(Kind::Shell);
constexpr KindMask kCom = Mask(Kind::Com);

/// Null, FALSE or 0, with the last error.
constexpr Failure NoneWith(int error) {
    return {0, Reason::LastError, error};
}
constexpr Failure Status(HRESULT status) {
    return {status};
}

std::vector<HookInfo*> WindowHooks() {
    return {
        FAULT_HOOK(RegisterClassExW)(kWindows, NoneWith(ERROR_NOT_ENOUGH_MEMORY)),
        FAULT_HOOK(UnregisterClassW)(kWindows, NoneWith(ERROR_CLASS_HAS_WINDOWS), {.failsAfterwards = true}),
        FAULT_HOOK(CreateWindowExW)(kWindows, NoneWith(ERROR_NOT_ENOUGH_MEMORY)),
        FAULT_HOOK(DestroyWindow)(kWindows, NoneWith(ERROR_ACCESS_DENIED), {.failsAfterwards = true}),
        FAULT_HOOK(DialogBoxParamW)(kWindows, {-1, Reason::LastError, ERROR_NOT_ENOUGH_MEMORY}),
        FAULT_HOOK(EndDialog)(kWindows, NoneWith(ERROR_INVALID_WINDOW_HANDLE), {.failsAfterwards = true}),
        FAULT_HOOK(FindWindowW)(kWindows, NoneWith(ERROR_NOT_ENOUGH_MEMORY), {.hostThreadOnly = true}),
        FAULT_HOOK(FindWindowExW)(kWindows, NoneWith(ERROR_NOT_ENOUGH_MEMORY), {.hostThreadOnly = true}),
        FAULT_HOOK(IsWindow)(kWindows, NoneWith(ERROR_INVALID_WINDOW_HANDLE), {.hostThreadOnly = true}),
        FAULT_HOOK(GetWindowThreadProcessId)(kWindows, NoneWith(ERROR_INVALID_WINDOW_HANDLE), {.hostThreadOnly = true}),
        FAULT_HOOK(GetWindowRect)(kWindows, NoneWith(ERROR_INVALID_WINDOW_HANDLE)),
        FAULT_HOOK(GetSystemMetrics)(kWindows, {0}),
        FAULT_HOOK(SetPropW)(kWindows, NoneWith(ERROR_NOT_ENOUGH_MEMORY)),
        FAULT_HOOK(GetPropW)(kWindows, NoneWith(ERROR_INVALID_WINDOW_HANDLE)),
        FAULT_HOOK(RemovePropW)(kWindows, NoneWith(ERROR_INVALID_WINDOW_HANDLE), {.failsAfterwards = true}),
        FAULT_HOOK(SetFocus)(kWindows, NoneWith(ERROR_ACCESS_DENIED)),
        FAULT_HOOK(GetMessageW)(kMessages, {-1, Reason::LastError, ERROR_INVALID_WINDOW_HANDLE}),
        FAULT_HOOK(PostMessageW)(kMessages, NoneWith(ERROR_NOT_ENOUGH_QUOTA)),
        FAULT_HOOK(PostThreadMessageW)(kMessages, NoneWith(ERROR_INVALID_THREAD_ID)),
        FAULT_HOOK(SendMessageTimeoutW)(kMessages, NoneWith(ERROR_TIMEOUT)),
        FAULT_HOOK(LoadImageW)(kResources, NoneWith(ERROR_RESOURCE_NAME_NOT_FOUND)),
        FAULT_HOOK(LoadStringW)(kResources, NoneWith(ERROR_RESOURCE_NAME_NOT_FOUND)),
    };
}

HookInfo g_createHbitmap{"GdipCreateHBITMAPFromBitmap"};

/// The bitmap goes to a picture, which frees it where no hook sees it.
Gdiplus::GpStatus WINGDIPAPI CreateHbitmap(Gdiplus::GpBitmap* bitmap, HBITMAP* made, Gdiplus::ARGB background) {
    if (Strikes(g_createHbitmap)) {
        return Gdiplus::OutOfMemory;
    }
    using Function = decltype(&CreateHbitmap);
    const auto status = reinterpret_cast<Function>(g_createHbitmap.original)(bitmap, made, background);
    if (status == Gdiplus::Ok) {
        BitmapGiven(*made);
    }
    return status;
}

std::vector<HookInfo*> GdiplusHooks() {
    return {
        FAULT_HOOK(DeleteObject)(kGdiplus, {0}, {.failsAfterwards = true}),
        FAULT_GDIPLUS(GdipAlloc)(kGdiplus, {0}),
        FAULT_GDIPLUS(GdipCloneImage)(kGdiplus, {Gdiplus::OutOfMemory}, {.opens = "GDI+ images"}),
        FAULT_GDIPLUS(GdipCreateBitmapFromStreamICM)(kGdiplus, {Gdiplus::OutOfMemory}, {.opens = "GDI+ images"}),
        FAULT_GDIPLUS(GdipCreateBitmapFromStream)(kGdiplus, {Gdiplus::OutOfMemory}, {.opens = "GDI+ images"}),
        Complete(g_createHbitmap, reinterpret_cast<void*>(&CreateHbitmap), kGdiplus, {Gdiplus::OutOfMemory}, {}),
        FAULT_GDIPLUS(GdipDisposeImage)(kGdiplus, {Gdiplus::GenericError},
                                        {.failsAfterwards = true, .closes = "GDI+ images"}),
        MakeHook<"GdiplusStartup", decltype(Gdiplus::GdiplusStartup)>(kGdiplus, {Gdiplus::OutOfMemory},
                                                                      {.opens = "GDI+ starts"}),
        MakeHook<"GdiplusShutdown", decltype(Gdiplus::GdiplusShutdown)>(0, {}, {.closes = "GDI+ starts"}),
    };
}

std::vector<HookInfo*> RegistryHooks() {
    constexpr Failure kDenied = {ERROR_ACCESS_DENIED};
    return {
        FAULT_HOOK(RegCreateKeyExW)(kRegistry, kDenied, {.opens = "registry keys"}),
        FAULT_HOOK(RegOpenKeyExW)(kRegistry, kDenied, {.opens = "registry keys"}),
        FAULT_HOOK(RegCloseKey)(kRegistry, {ERROR_INVALID_HANDLE},
                                {.failsAfterwards = true, .closes = "registry keys"}),
        FAULT_HOOK(RegSetKeyValueW)(kRegistry, kDenied),
        FAULT_HOOK(RegDeleteKeyW)(kRegistry, kDenied),
        FAULT_HOOK(RegDeleteTreeW)(kRegistry, kDenied),
    };
}

std::vector<HookInfo*> ShellHooks() {
    return {
        FAULT_HOOK(SHGetSpecialFolderLocation)(kShell, Status(E_FAIL)),
        FAULT_HOOK(SHGetPathFromIDListW)(kShell, {0}),
        FAULT_HOOK(PathAppendW)(kShell, {0}),
        FAULT_HOOK(PathCanonicalizeW)(kShell, {0}),
    };
}

std::vector<HookInfo*> ComHooks() {
    return {
        FAULT_HOOK(CreateStreamOnHGlobal)(kCom, Status(E_OUTOFMEMORY)),
        FAULT_HOOK(SetErrorInfo)(kCom, Status(E_OUTOFMEMORY)),
        FAULT_HOOK(StringFromGUID2)(kCom, {0}),
        FAULT_HOOK(LoadRegTypeLib)(kCom, Status(TYPE_E_LIBNOTREGISTERED)),
        FAULT_HOOK(LoadTypeLib)(kCom, Status(TYPE_E_CANTLOADLIBRARY)),
        FAULT_HOOK(RegisterTypeLib)(kCom, Status(TYPE_E_REGISTRYACCESS)),
        FAULT_HOOK(OleCreatePictureIndirect)(kCom, Status(E_OUTOFMEMORY)),
        FAULT_HOOK(VariantChangeType)(kCom, Status(E_OUTOFMEMORY)),
        FAULT_HOOK(VariantClear)(kCom, Status(DISP_E_BADVARTYPE), {.failsAfterwards = true}),
    };
}

} // namespace

std::vector<HookInfo*> PlatformHooks() {
    std::vector<HookInfo*> hooks;
    for (const auto& group : {WindowHooks(), GdiplusHooks(), RegistryHooks(), ShellHooks(), ComHooks()}) {
        hooks.insert(hooks.end(), group.begin(), group.end());
    }
    return hooks;
}

} // namespace faults
